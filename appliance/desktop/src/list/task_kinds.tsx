// The kinds of tasks, each with its icon and its name.
import ArchiveIcon from '@patternfly/react-icons/dist/esm/icons/archive-icon';
import BellIcon from '@patternfly/react-icons/dist/esm/icons/bell-icon';
import ChartBarIcon from '@patternfly/react-icons/dist/esm/icons/chart-bar-icon';
import CogsIcon from '@patternfly/react-icons/dist/esm/icons/cogs-icon';
import CubeIcon from '@patternfly/react-icons/dist/esm/icons/cube-icon';
import PowerOffIcon from '@patternfly/react-icons/dist/esm/icons/power-off-icon';
import SyncAltIcon from '@patternfly/react-icons/dist/esm/icons/sync-alt-icon';
import TerminalIcon from '@patternfly/react-icons/dist/esm/icons/terminal-icon';
import TrashIcon from '@patternfly/react-icons/dist/esm/icons/trash-icon';
import type { ComponentType } from 'react';
import type { TaskType } from '../api/types';
import { useTexts } from '../texts';

export const kindIcons: Record<TaskType, ComponentType> = {
  script: TerminalIcon,
  beep: BellIcon,
  service: CogsIcon,
  recycle: TrashIcon,
  report: ChartBarIcon,
  power: PowerOffIcon,
  zomupdate: SyncAltIcon,
  backup: ArchiveIcon,
  custom: CubeIcon,
};

/** The icon and the name of a kind; of an app of another maker its own name, too. */
export function Kind({ type, appName }: { type: TaskType; appName?: string }) {
  const { t } = useTexts();
  const Icon = kindIcons[type] ?? CubeIcon;
  return (
    <span className="kavo-kind">
      <span className={`kavo-kind-icon kavo-kind-${type}`} aria-hidden="true">
        <Icon />
      </span>
      <span>
        {t(`kind_${type}`)}
        {appName && (
          <small className="kavo-hint">
            <bdi>{appName}</bdi>
          </small>
        )}
      </span>
    </span>
  );
}
