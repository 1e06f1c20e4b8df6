// The section of the task's own app.
import type { BeepExtra, RecycleExtra, ScriptExtra, ServiceExtra, Task } from '../api/types';
import type { Faults } from '../helpers/schedule';
import type { TaskField } from '../helpers/task';
import { useTexts } from '../texts';
import { BeepFields } from './beep_fields';
import { RecycleFields } from './recycle_fields';
import { ScriptFields } from './script_fields';
import { Section } from './section';
import { ServiceFields } from './service_fields';

interface ExtraFieldsProps {
  task: Task;
  isTried: boolean;
  faults: Faults<TaskField>;
  onChange: (task: Task) => void;
}

/** What the fields of each kind are given. */
export interface AppFieldsProps<Extra> {
  extra: Extra;
  faults: Faults<TaskField>;
  onChange: (extra: Extra) => void;
}

export function ExtraFields({ task, isTried, faults, onChange }: ExtraFieldsProps) {
  const { t } = useTexts();
  const common = {
    faults: isTried || task.id > 0 ? faults : {},
    onChange: (extra: unknown) => onChange({ ...task, extra }),
  };
  // A section that was stored unreadable opens empty.
  const extra = task.extra ?? {};
  switch (task.type) {
    case 'script':
      return <ScriptFields {...common} extra={extra as ScriptExtra} />;
    case 'beep':
      return <BeepFields {...common} extra={extra as BeepExtra} />;
    case 'service':
      return <ServiceFields {...common} extra={extra as ServiceExtra} />;
    case 'recycle':
      return <RecycleFields {...common} extra={extra as RecycleExtra} />;
    default:
      return (
        <Section title={t(`kind_${task.type}`)}>
          <bdi>{task.action}</bdi>
          <p className="kavo-hint">{t('plain_hint')}</p>
        </Section>
      );
  }
}
