// What can be done with tasks of the list, one or several, and what is said of it afterwards.
import * as api from '../api/client';
import type { TaskRow } from '../api/types';
import { useFailureText } from '../failures';
import { useNotify } from '../notices';
import { useTexts } from '../texts';

export type Action = 'run' | 'stop' | 'enable' | 'disable' | 'delete';

// Several at once, since each is an exchange of its own, but not so many that others wait.
const parallel = 4;

async function forEachTask(
  rows: readonly TaskRow[],
  act: (row: TaskRow) => Promise<unknown>,
): Promise<{ row: TaskRow; failure: unknown }[]> {
  const failures: { row: TaskRow; failure: unknown }[] = [];
  const left = [...rows];
  const work = async () => {
    for (let row = left.shift(); row; row = left.shift()) {
      const task = row;
      await act(task).catch((failure: unknown) => failures.push({ row: task, failure }));
    }
  };
  await Promise.all(Array.from({ length: parallel }, work));
  return failures;
}

export type Act = (action: Action, rows: readonly TaskRow[], runId?: number) => Promise<void>;

export function useActions(refresh: () => void): Act {
  const { count } = useTexts();
  const notify = useNotify();
  const failureText = useFailureText();
  return async (action, rows, runId) => {
    const calls: Record<Action, (row: TaskRow) => Promise<unknown>> = {
      run: (row) => api.runTask(row.id),
      stop: () => api.stopRun(runId ?? -1),
      enable: (row) => api.setEnable(row.id, true),
      disable: (row) => api.setEnable(row.id, false),
      delete: (row) => api.deleteTask(row.id),
    };
    const failures = await forEachTask(rows, calls[action]);
    const done = rows.length - failures.length;
    const name = rows[0]?.name ?? '';
    if (done > 0) notify('success', count(`done_${action}`, done, { name }));
    if (failures.length > 0) {
      const words = await failureText(failures[0]!.failure);
      const names = failures.map(({ row }) => row.name).join(', ');
      notify('danger', count(`not_done_${action}`, failures.length, { name: names }), words);
    }
    refresh();
  };
}
