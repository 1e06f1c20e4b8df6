// The form for a task: what it is, what it does, when it runs.
import {
  ActionGroup,
  Alert,
  Breadcrumb,
  BreadcrumbItem,
  Button,
  Form,
  PageSection,
  Title,
} from '@patternfly/react-core';
import { useEffect, useState, type FormEvent } from 'react';
import type { Task } from '../api/types';
import { scheduleFaults } from '../helpers/schedule';
import { same, taskFaults } from '../helpers/task';
import { useNotify } from '../notices';
import { useLeaveGuard, useRouter } from '../router';
import { useTexts } from '../texts';
import { ConflictQuestion } from './conflict_question';
import { ExtraFields } from './extra_fields';
import { GeneralFields } from './general_fields';
import { NextRuns } from './next_runs';
import { ScheduleFields } from './schedule_fields';
import { useSave } from './use_save';
import { useTimezones } from './use_timezones';

interface TaskFormProps {
  /** The document as it was stored when the form was opened. */
  opened: Task;
  onReload: () => void;
}

export function TaskForm({ opened, onReload }: TaskFormProps) {
  const { t } = useTexts();
  const { go } = useRouter();
  const notify = useNotify();
  const [task, setTask] = useState(opened);
  const [tries, setTries] = useState(0);
  const isTried = tries > 0;
  const zones = useTimezones();
  const isNew = !(opened.id > 0);

  const saved = () => {
    notify('success', t(isNew ? 'created' : 'saved', { name: task.name }));
    go({ view: 'list' }, true);
  };
  const { save, saveUpon, busy, failure, conflict, forgetConflict } = useSave(opened, saved);
  useLeaveGuard(!same(task, opened));

  const faults = taskFaults(task, opened);
  // What is stored already is no obstacle to changing something else.
  const badSchedule = isNew || !same(task.schedule, opened.schedule);
  const times = badSchedule ? scheduleFaults(task.schedule, zones.timezones) : {};
  const isFaulty = Object.keys({ ...faults, ...times }).length > 0;

  useEffect(() => {
    if (tries > 0) document.querySelector<HTMLElement>('form [aria-invalid="true"]')?.focus();
  }, [tries]);

  const submit = (event: FormEvent) => {
    event.preventDefault();
    setTries(tries + 1);
    if (!isFaulty) void save(task);
  };
  const title = isNew ? t(`new_${task.type}`) : task.name || t('unnamed');
  return (
    <>
      <PageSection hasBodyWrapper={false}>
        <Breadcrumb aria-label={t('breadcrumb')}>
          <BreadcrumbItem to="#/">{t('tasks')}</BreadcrumbItem>
          <BreadcrumbItem isActive>
            <bdi>{isNew ? t('new_task') : opened.name || t('unnamed')}</bdi>
          </BreadcrumbItem>
        </Breadcrumb>
        <div className="kavo-heading">
          <Title headingLevel="h1">
            <bdi>{title}</bdi>
          </Title>
          {!isNew && (
            <Button variant="link" onClick={() => go({ view: 'runs', task: opened.id })}>
              {t('runs')}
            </Button>
          )}
        </div>
      </PageSection>
      <PageSection hasBodyWrapper={false} isFilled>
        <Form onSubmit={submit} noValidate className="kavo-form">
          <div className="kavo-form-columns">
            <div>
              <GeneralFields
                task={task}
                isNew={isNew}
                isTried={isTried}
                faults={faults}
                onChange={setTask}
              />
              <ExtraFields task={task} isTried={isTried} faults={faults} onChange={setTask} />
              <ScheduleFields
                schedule={task.schedule}
                zones={zones}
                faults={times}
                onChange={(schedule) => setTask({ ...task, schedule })}
              />
            </div>
            <div>
              <NextRuns
                schedule={task.schedule}
                isDisabled={!task.enable}
                isFaulty={Object.keys(times).length > 0}
              />
            </div>
          </div>
          {failure !== undefined && (
            <Alert isInline isLiveRegion variant="danger" title={t('not_saved')}>
              {failure}
            </Alert>
          )}
          {isTried && isFaulty && (
            <Alert isInline isLiveRegion variant="warning" title={t('mend_fields')} />
          )}
          <ActionGroup className="kavo-actions">
            <Button type="submit" isLoading={busy} isDisabled={busy} spinnerAriaLabel={t('busy')}>
              {t(isNew ? 'create' : 'save')}
            </Button>
            <Button variant="link" onClick={() => go({ view: 'list' })}>
              {t('cancel')}
            </Button>
          </ActionGroup>
        </Form>
      </PageSection>
      <ConflictQuestion
        conflict={conflict}
        onOverwrite={() => conflict && void saveUpon(task, conflict)}
        onReload={onReload}
        onCancel={forgetConflict}
      />
    </>
  );
}
