// Loads a document for the form: a stored task, or a blank one.
import {
  Button,
  EmptyState,
  EmptyStateActions,
  EmptyStateBody,
  PageSection,
} from '@patternfly/react-core';
import { useCallback, useEffect, useState } from 'react';
import { getBlankTask, getTask } from '../api/client';
import type { BeepExtra, Task } from '../api/types';
import { useFailureText } from '../failures';
import type { FormType } from '../helpers/route';
import { LoadingRows } from '../list/loading';
import { useRouter } from '../router';
import { useSession } from '../session';
import { useTexts } from '../texts';
import { TaskForm } from './task_form';

// A new task is enabled, as one expects of it. The blank document has its beep's seconds as a text,
// which is taken back as a number only.
async function newTask(type: FormType): Promise<Task> {
  const blank: Task = { ...(await getBlankTask(type)), enable: true };
  if (type !== 'beep') return blank;
  const extra = blank.extra as BeepExtra;
  return { ...blank, extra: { ...extra, beep_duration: Number(extra.beep_duration) } };
}

export default function TaskPage({ id, type }: { id?: number; type?: FormType }) {
  const { t } = useTexts();
  const { go } = useRouter();
  const { signedIn } = useSession();
  const failureText = useFailureText();
  const [task, setTask] = useState<Task>();
  const [failure, setFailure] = useState<string>();
  const [round, setRound] = useState(0);

  const load = useCallback(() => (type ? newTask(type) : getTask(id ?? -1)), [id, type]);
  useEffect(() => {
    if (!signedIn || task) return undefined;
    let current = true;
    load().then(
      (found) => current && setTask(found),
      async (error: unknown) => {
        const words = await failureText(error);
        if (current) setFailure(words);
      },
    );
    return () => {
      current = false;
    };
    // The words of a failure change with the language only.
    // eslint-disable-next-line react-hooks/exhaustive-deps
  }, [load, signedIn, task, round]);

  const again = () => {
    setFailure(undefined);
    setTask(undefined);
    setRound((n) => n + 1);
  };
  if (task) return <TaskForm key={round} opened={task} onReload={again} />;
  return (
    <PageSection hasBodyWrapper={false} isFilled>
      {failure === undefined ? (
        <LoadingRows />
      ) : (
        <EmptyState headingLevel="h1" titleText={t('not_loaded')}>
          <EmptyStateBody>{failure}</EmptyStateBody>
          <EmptyStateActions>
            <Button variant="primary" onClick={again}>
              {t('try_again')}
            </Button>
            <Button variant="link" onClick={() => go({ view: 'list' })}>
              {t('back_to_list')}
            </Button>
          </EmptyStateActions>
        </EmptyState>
      )}
    </PageSection>
  );
}
