// One run: what it was, and what it writes.
import {
  Breadcrumb,
  BreadcrumbItem,
  DescriptionList,
  DescriptionListDescription,
  DescriptionListGroup,
  DescriptionListTerm,
  PageSection,
  Title,
} from '@patternfly/react-core';
import type { ReactNode } from 'react';
import { duration, moment } from '../helpers/format';
import { useNow } from '../live';
import { useTexts } from '../texts';
import { OutputPane } from './output_pane';
import { ResultLabel } from './result_label';
import { causeKey } from './run_table';
import { StopButton } from './stop_button';
import { useRun } from './use_run';

function Fact({ term, children }: { term: string; children: ReactNode }) {
  return (
    <DescriptionListGroup>
      <DescriptionListTerm>{term}</DescriptionListTerm>
      <DescriptionListDescription>{children}</DescriptionListDescription>
    </DescriptionListGroup>
  );
}

export default function RunView({ id, task }: { id: number; task: number }) {
  const { t, language } = useTexts();
  const now = useNow();
  const { run, isGone, output } = useRun(id, task);
  const time = (seconds: number | null) => (seconds === null ? '–' : moment(seconds, language));
  return (
    <>
      <PageSection hasBodyWrapper={false}>
        <Breadcrumb aria-label={t('breadcrumb')}>
          <BreadcrumbItem to="#/">{t('tasks')}</BreadcrumbItem>
          <BreadcrumbItem to={`#/tasks/${task}/runs`}>
            <bdi>{run?.name || t('task_number', { id: task })}</bdi>
          </BreadcrumbItem>
          <BreadcrumbItem isActive>{t('run_number', { id })}</BreadcrumbItem>
        </Breadcrumb>
        <div className="kavo-heading">
          <Title headingLevel="h1">
            <bdi>{run?.name || t('task_number', { id: task })}</bdi>
          </Title>
          {run?.ended === null && <StopButton run={run} />}
        </div>
      </PageSection>
      <PageSection hasBodyWrapper={false} isFilled>
        {isGone && <p role="status">{t('run_gone')}</p>}
        {run && (
          <DescriptionList
            columnModifier={{ default: '2Col', lg: '3Col' }}
            isCompact
            className="kavo-facts"
          >
            <Fact term={t('run_result')}>
              <ResultLabel run={run} />
              {run.message && (
                <small className="kavo-hint">
                  <bdi>{run.message}</bdi>
                </small>
              )}
            </Fact>
            <Fact term={t('run_cause')}>{t(causeKey(run))}</Fact>
            <Fact term={t('run_due')}>{time(run.due)}</Fact>
            <Fact term={t('run_started')}>{time(run.started)}</Fact>
            <Fact term={t('run_ended')}>{time(run.ended)}</Fact>
            <Fact term={t('run_duration')}>
              {run.started === null ? '–' : duration((run.ended ?? now) - run.started)}
            </Fact>
          </DescriptionList>
        )}
        {run && <OutputPane run={run} output={output} />}
      </PageSection>
    </>
  );
}
