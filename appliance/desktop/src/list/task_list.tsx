import { PageSection, Title } from '@patternfly/react-core';
import { useEffect, useState } from 'react';
import type { TaskRow } from '../api/types';
import { Pages } from '../pages';
import { useTexts } from '../texts';
import { DeleteQuestion } from './delete_question';
import { FirstTask, NothingFound } from './empty';
import { ListToolbar } from './list_toolbar';
import { LoadingRows } from './loading';
import { TaskTable } from './task_table';
import { useActions } from './use_actions';
import { useTasks, type Query } from './use_tasks';

const firstQuery: Query = {
  sort: 'next_trigger_time',
  descending: false,
  page: 1,
  perPage: 20,
  search: '',
};

// Where one was in the list, for coming back to it.
let lastQuery = firstQuery;

export function TaskList() {
  const { t, count } = useTexts();
  const [query, setQuery] = useState(lastQuery);
  const [chosen, setChosen] = useState<ReadonlyMap<number, TaskRow>>(new Map());
  const [toDelete, setToDelete] = useState<readonly TaskRow[]>([]);
  const { shown, refresh } = useTasks(query);
  const act = useActions(refresh);
  const change = (part: Partial<Query>) => setQuery({ ...query, page: 1, ...part });

  useEffect(() => {
    lastQuery = query;
  }, [query]);
  // The last page can become empty while one looks at it.
  const pages = shown ? Math.max(1, Math.ceil(shown.total / query.perPage)) : query.page;
  useEffect(() => {
    if (query.page > pages) setQuery({ ...query, page: pages });
  }, [query, pages]);

  const onAct: typeof act = async (action, rows, runId) => {
    if (action === 'delete') setToDelete(rows);
    else await act(action, rows, runId);
  };
  const remove = async () => {
    setToDelete([]);
    await act('delete', toDelete);
    setChosen(new Map([...chosen].filter(([id]) => !toDelete.some((row) => row.id === id))));
  };

  const isEmpty = shown?.stored === 0;
  return (
    <>
      <PageSection hasBodyWrapper={false}>
        <div className="kavo-heading">
          <Title headingLevel="h1">{t('tasks')}</Title>
          <span className="kavo-hint">
            {shown && !isEmpty ? count('tasks_count', shown.stored) : t('tasks_intro')}
          </span>
        </div>
      </PageSection>
      <PageSection hasBodyWrapper={false} isFilled>
        {isEmpty ? (
          <FirstTask />
        ) : (
          <>
            <ListToolbar
              query={query}
              total={shown?.total}
              chosen={[...chosen.values()]}
              onQuery={change}
              onAct={onAct}
              onClear={() => setChosen(new Map())}
            />
            {!shown && <LoadingRows />}
            {shown && shown.rows.length > 0 && (
              <TaskTable
                query={query}
                shown={shown}
                chosen={chosen}
                onQuery={change}
                onChosen={setChosen}
                onAct={onAct}
              />
            )}
            <Pages
              total={shown?.total ?? 0}
              page={query.page}
              perPage={query.perPage}
              onPage={(page, perPage) => change({ page, perPage })}
              isBelow
            />
            {shown && shown.rows.length === 0 && (
              <NothingFound onClear={() => change({ search: '' })} />
            )}
          </>
        )}
      </PageSection>
      <DeleteQuestion
        rows={toDelete}
        onConfirm={() => void remove()}
        onCancel={() => setToDelete([])}
      />
    </>
  );
}
