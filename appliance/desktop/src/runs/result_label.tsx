import { Label, type LabelProps } from '@patternfly/react-core';
import type { Run, RunResult } from '../api/types';
import type { Texts } from '../helpers/texts';
import { useTexts } from '../texts';

const statuses: Record<RunResult, LabelProps['status'] | undefined> = {
  waiting: undefined,
  running: 'info',
  ok: 'success',
  'exit code': 'danger',
  signal: 'danger',
  stopped: 'warning',
  'time limit': 'danger',
  interrupted: 'danger',
  missed: 'warning',
  skipped: 'warning',
  refused: 'danger',
};

export const resultKey = (result: RunResult): string => `result_${result.replace(' ', '_')}`;

export const resultWords = (run: Run, { t }: Texts): string =>
  t(resultKey(run.result), { code: run.code ?? '' });

/** How a run ended, or that it goes on, in colour and in words. */
export function ResultLabel({ run }: { run: Run }) {
  const texts = useTexts();
  const status = statuses[run.result];
  return (
    <Label isCompact variant="outline" {...(status ? { status } : {})}>
      {resultWords(run, texts)}
    </Label>
  );
}
