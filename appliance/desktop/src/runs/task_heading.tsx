import { Breadcrumb, BreadcrumbItem, Button, Title } from '@patternfly/react-core';
import PlayIcon from '@patternfly/react-icons/dist/esm/icons/play-icon';
import { useEffect, useState } from 'react';
import { getTask, runTask } from '../api/client';
import type { Task } from '../api/types';
import { useFailureText } from '../failures';
import { useNotify } from '../notices';
import { useRouter } from '../router';
import { useTexts } from '../texts';

/** The head of a task's history; the task itself may be gone. */
export function TaskHeading({ task: id }: { task: number }) {
  const { t } = useTexts();
  const { go } = useRouter();
  const notify = useNotify();
  const failureText = useFailureText();
  const [task, setTask] = useState<Task | null>();
  useEffect(() => {
    let current = true;
    getTask(id).then(
      (found) => current && setTask(found),
      () => current && setTask(null),
    );
    return () => {
      current = false;
    };
  }, [id]);
  const run = () =>
    runTask(id).catch(async (failure: unknown) =>
      notify(
        'danger',
        t('not_done_run_one', { name: task?.name ?? '' }),
        await failureText(failure),
      ),
    );
  const name = task?.name || t('task_number', { id });
  return (
    <>
      <Breadcrumb aria-label={t('breadcrumb')}>
        <BreadcrumbItem to="#/">{t('tasks')}</BreadcrumbItem>
        <BreadcrumbItem isActive>
          <bdi>{name}</bdi>
        </BreadcrumbItem>
      </Breadcrumb>
      <div className="kavo-heading">
        <Title headingLevel="h1">
          {t('runs_of')} <bdi>{name}</bdi>
        </Title>
        {task && (
          <span className="kavo-buttons">
            <Button variant="secondary" icon={<PlayIcon />} onClick={() => void run()}>
              {t('run_now')}
            </Button>
            <Button variant="link" onClick={() => go({ view: 'task', id })}>
              {t('edit')}
            </Button>
          </span>
        )}
      </div>
    </>
  );
}
