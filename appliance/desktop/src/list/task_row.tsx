import { Button, Checkbox, MenuToggle, Switch } from '@patternfly/react-core';
import EllipsisVIcon from '@patternfly/react-icons/dist/esm/icons/ellipsis-v-icon';
import { ActionsColumn, Td, Tr, type IAction } from '@patternfly/react-table';
import type { Run, TaskRow } from '../api/types';
import { relativeTime, wallClockTime } from '../helpers/format';
import { useRouter } from '../router';
import { LastRun } from '../runs/last_run';
import { useTexts } from '../texts';
import { Kind } from './task_kinds';
import type { Act } from './use_actions';

interface TaskTableRowProps {
  row: TaskRow;
  now: number;
  last: Run | null;
  next: number | null;
  isChosen: boolean;
  onChoose: (isChosen: boolean) => void;
  onAct: Act;
}

function NextRun({ row, next, now }: Pick<TaskTableRowProps, 'row' | 'next' | 'now'>) {
  const { t, language } = useTexts();
  if (row.next_trigger_time === '-') {
    return <span className="kavo-hint">{t(row.enable ? 'never_again' : 'disabled')}</span>;
  }
  return (
    <>
      {wallClockTime(row.next_trigger_time, language, new Date(now * 1000).getUTCFullYear())}
      {next !== null && (
        <small className="kavo-hint">{relativeTime(Math.max(0, next - now), language)}</small>
      )}
    </>
  );
}

const actionsId = (row: TaskRow): string => `actions-${row.id}`;

function useRowActions({ row, last, onAct }: TaskTableRowProps): IAction[] {
  const { t } = useTexts();
  const { go } = useRouter();
  const going = last !== null && last.ended === null;
  return [
    { title: t('run_now'), isDisabled: !row.can_run, onClick: () => void onAct('run', [row]) },
    ...(going ? [{ title: t('stop'), onClick: () => void onAct('stop', [row], last.id) }] : []),
    {
      title: t('edit'),
      isDisabled: !row.can_edit,
      onClick: () => go({ view: 'task', id: row.id }),
    },
    { title: t('runs'), onClick: () => go({ view: 'runs', task: row.id }) },
    { isSeparator: true },
    {
      title: t('delete'),
      isDanger: true,
      isDisabled: !row.can_delete,
      onClick: () => {
        // The question gives the focus back to what had it; the menu is gone by then.
        document.getElementById(actionsId(row))?.focus();
        void onAct('delete', [row]);
      },
    },
  ];
}

export function TaskTableRow(props: TaskTableRowProps) {
  const { row, now, last, next, isChosen, onChoose, onAct } = props;
  const { t } = useTexts();
  const { go } = useRouter();
  const actions = useRowActions(props);
  const name = row.name || t('unnamed');
  return (
    <Tr isRowSelected={isChosen}>
      <Td className="pf-v6-c-table__check">
        <Checkbox
          id={`choose-${row.id}`}
          aria-label={t('choose_task', { name })}
          isChecked={isChosen}
          onChange={(_, chosen) => onChoose(chosen)}
        />
      </Td>
      <Td dataLabel={t('column_enable')}>
        <Switch
          aria-label={t('enable_task', { name })}
          isChecked={row.enable}
          isDisabled={!row.can_edit}
          onChange={(_, enable) => void onAct(enable ? 'enable' : 'disable', [row])}
        />
      </Td>
      <Td dataLabel={t('column_name')} modifier="breakWord">
        {row.can_edit ? (
          <Button variant="link" isInline onClick={() => go({ view: 'task', id: row.id })}>
            <bdi>{name}</bdi>
          </Button>
        ) : (
          <bdi>{name}</bdi>
        )}
      </Td>
      <Td dataLabel={t('column_type')}>
        <Kind type={row.type} {...(row.app_name ? { appName: row.app_name } : {})} />
      </Td>
      <Td dataLabel={t('column_action')} modifier="breakWord" className="kavo-action">
        <bdi>{row.action}</bdi>
      </Td>
      <Td dataLabel={t('column_next_trigger_time')}>
        <NextRun row={row} next={next} now={now} />
      </Td>
      <Td dataLabel={t('column_last')}>
        <LastRun
          run={last}
          now={now}
          {...(last && last.ended === null
            ? { onStop: () => void onAct('stop', [row], last.id) }
            : {})}
        />
      </Td>
      <Td isActionCell>
        <ActionsColumn
          items={actions}
          actionsToggle={({ onToggle, isOpen, toggleRef }) => (
            <MenuToggle
              id={actionsId(row)}
              ref={toggleRef}
              variant="plain"
              icon={<EllipsisVIcon />}
              isExpanded={isOpen}
              onClick={onToggle}
              aria-label={t('task_actions', { name })}
            />
          )}
        />
      </Td>
    </Tr>
  );
}
