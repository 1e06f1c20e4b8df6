// The history of one task, or of all.
import {
  EmptyState,
  EmptyStateBody,
  FormSelect,
  FormSelectOption,
  PageSection,
  Title,
  Toolbar,
  ToolbarContent,
  ToolbarItem,
} from '@patternfly/react-core';
import HistoryIcon from '@patternfly/react-icons/dist/esm/icons/history-icon';
import { useState } from 'react';
import type { RunResult } from '../api/types';
import { LoadingRows } from '../list/loading';
import { Pages } from '../pages';
import { useTexts } from '../texts';
import { resultKey } from './result_label';
import { RunTable } from './run_table';
import { TaskHeading } from './task_heading';
import { useRuns } from './use_runs';

const results: readonly RunResult[] = [
  'running',
  'waiting',
  'ok',
  'exit code',
  'signal',
  'stopped',
  'time limit',
  'interrupted',
  'missed',
  'skipped',
  'refused',
];

export default function RunList({ task }: { task?: number }) {
  const { t } = useTexts();
  const [result, setResult] = useState<RunResult>();
  const [page, setPage] = useState({ page: 1, perPage: 20 });
  const shown = useRuns({
    ...(task === undefined ? {} : { task }),
    ...(result === undefined ? {} : { result }),
    offset: (page.page - 1) * page.perPage,
    limit: page.perPage,
  });
  const filter = (value: string) => {
    setResult(results.find((each) => each === value));
    setPage({ ...page, page: 1 });
  };
  return (
    <>
      <PageSection hasBodyWrapper={false}>
        {task === undefined ? (
          <Title headingLevel="h1">{t('all_runs')}</Title>
        ) : (
          <TaskHeading task={task} />
        )}
      </PageSection>
      <PageSection hasBodyWrapper={false} isFilled>
        <Toolbar aria-label={t('runs_tools')} inset={{ default: 'insetNone' }}>
          <ToolbarContent>
            <ToolbarItem>
              <FormSelect
                aria-label={t('filter_result')}
                value={result ?? ''}
                onChange={(_, value) => filter(value)}
              >
                <FormSelectOption value="" label={t('filter_all')} />
                {results.map((each) => (
                  <FormSelectOption
                    key={each}
                    value={each}
                    label={t(resultKey(each), { code: '' }).trim()}
                  />
                ))}
              </FormSelect>
            </ToolbarItem>
            <ToolbarItem variant="pagination" align={{ default: 'alignEnd' }}>
              <Pages
                total={shown?.total ?? 0}
                {...page}
                onPage={(next, perPage) => setPage({ page: next, perPage })}
              />
            </ToolbarItem>
          </ToolbarContent>
        </Toolbar>
        {!shown && <LoadingRows />}
        {shown && shown.runs.length > 0 && (
          <RunTable runs={shown.runs} withNames={task === undefined} />
        )}
        <Pages
          total={shown?.total ?? 0}
          {...page}
          onPage={(next, perPage) => setPage({ page: next, perPage })}
          isBelow
        />
        {shown?.runs.length === 0 && (
          <EmptyState headingLevel="h2" icon={HistoryIcon} titleText={t('no_runs')}>
            <EmptyStateBody>{t(result ? 'no_runs_result' : 'no_runs_text')}</EmptyStateBody>
          </EmptyState>
        )}
      </PageSection>
    </>
  );
}
