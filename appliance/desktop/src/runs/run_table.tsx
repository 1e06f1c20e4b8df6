import { Button } from '@patternfly/react-core';
import { Table, Tbody, Td, Th, Thead, Tr } from '@patternfly/react-table';
import type { Run } from '../api/types';
import { duration, moment } from '../helpers/format';
import { useNow } from '../live';
import { useRouter } from '../router';
import { useTexts } from '../texts';
import { ResultLabel } from './result_label';
import { StopButton } from './stop_button';

export const causeKey = (run: Run): string => `cause_${run.cause.replace('-', '_')}`;

export function RunTable({ runs, withNames }: { runs: readonly Run[]; withNames: boolean }) {
  const { t, language } = useTexts();
  const { go } = useRouter();
  const now = useNow();
  const time = (seconds: number | null) => (seconds === null ? '–' : moment(seconds, language));
  return (
    <Table aria-label={t('runs')} variant="compact" gridBreakPoint="grid-md">
      <Thead>
        <Tr>
          <Th>{t('run_result')}</Th>
          {withNames && <Th>{t('column_name')}</Th>}
          <Th>{t('run_cause')}</Th>
          <Th>{t('run_due')}</Th>
          <Th>{t('run_started')}</Th>
          <Th>{t('run_duration')}</Th>
          <Th screenReaderText={t('column_actions')} />
        </Tr>
      </Thead>
      <Tbody>
        {runs.map((run) => (
          <Tr key={run.id}>
            <Td dataLabel={t('run_result')}>
              <ResultLabel run={run} />
              {run.message && (
                <small className="kavo-hint">
                  <bdi>{run.message}</bdi>
                </small>
              )}
            </Td>
            {withNames && (
              <Td dataLabel={t('column_name')} modifier="breakWord">
                <bdi>{run.name || t('unnamed')}</bdi>
              </Td>
            )}
            <Td dataLabel={t('run_cause')}>{t(causeKey(run))}</Td>
            <Td dataLabel={t('run_due')}>{time(run.due)}</Td>
            <Td dataLabel={t('run_started')}>{time(run.started)}</Td>
            <Td dataLabel={t('run_duration')}>
              {run.started === null ? '–' : duration((run.ended ?? now) - run.started)}
            </Td>
            <Td isActionCell>
              <span className="kavo-buttons">
                {run.ended === null && <StopButton run={run} />}
                <Button
                  variant="secondary"
                  size="sm"
                  aria-label={t('output_of_run', { id: run.id })}
                  onClick={() => go({ view: 'run', id: run.id, task: run.task })}
                >
                  {t('output')}
                </Button>
              </span>
            </Td>
          </Tr>
        ))}
      </Tbody>
    </Table>
  );
}
