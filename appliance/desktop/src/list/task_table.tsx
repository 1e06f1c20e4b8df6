import { Checkbox } from '@patternfly/react-core';
import { Table, Tbody, Th, Thead, Tr, type ThProps } from '@patternfly/react-table';
import type { SortKey } from '../api/client';
import type { TaskRow } from '../api/types';
import { useNow } from '../live';
import { useTexts } from '../texts';
import { TaskTableRow } from './task_row';
import type { Act } from './use_actions';
import type { Query, ShownTasks } from './use_tasks';

// The columns in their order, each with the server's name for sorting by it.
const columns: readonly SortKey[] = ['enable', 'name', 'type', 'action', 'next_trigger_time'];

interface TaskTableProps {
  query: Query;
  shown: ShownTasks;
  chosen: ReadonlyMap<number, TaskRow>;
  onQuery: (part: Partial<Query>) => void;
  onChosen: (chosen: ReadonlyMap<number, TaskRow>) => void;
  onAct: Act;
}

export function TaskTable({ query, shown, chosen, onQuery, onChosen, onAct }: TaskTableProps) {
  const { t } = useTexts();
  const now = useNow();
  const choose = (rows: readonly TaskRow[], isChosen: boolean) => {
    const next = new Map(chosen);
    for (const row of rows) {
      if (isChosen) next.set(row.id, row);
      else next.delete(row.id);
    }
    onChosen(next);
  };
  const sort = (columnIndex: number): NonNullable<ThProps['sort']> => ({
    columnIndex,
    sortBy: {
      index: columns.indexOf(query.sort),
      direction: query.descending ? 'desc' : 'asc',
    },
    onSort: (_, index, direction) =>
      onQuery({ sort: columns[index] ?? 'next_trigger_time', descending: direction === 'desc' }),
  });
  return (
    <Table
      aria-label={t('tasks')}
      variant="compact"
      gridBreakPoint="grid-lg"
      className="kavo-tasks"
    >
      <Thead>
        <Tr>
          <Th aria-label={t('choose_page')} className="pf-v6-c-table__check">
            <Checkbox
              id="choose-page"
              aria-label={t('choose_page')}
              isChecked={shown.rows.every((row) => chosen.has(row.id))}
              onChange={(_, isChosen) => choose(shown.rows, isChosen)}
            />
          </Th>
          {columns.map((column, index) => (
            <Th key={column} sort={sort(index)} modifier="nowrap">
              {t(`column_${column}`)}
            </Th>
          ))}
          <Th modifier="nowrap">{t('column_last')}</Th>
          <Th screenReaderText={t('column_actions')} />
        </Tr>
      </Thead>
      <Tbody>
        {shown.rows.map((row) => (
          <TaskTableRow
            key={row.id}
            row={row}
            now={now}
            last={shown.last[row.id] ?? null}
            next={shown.next[row.id] ?? null}
            isChosen={chosen.has(row.id)}
            onChoose={(isChosen) => choose([row], isChosen)}
            onAct={onAct}
          />
        ))}
      </Tbody>
    </Table>
  );
}
