import {
  Button,
  SearchInput,
  Toolbar,
  ToolbarContent,
  ToolbarGroup,
  ToolbarItem,
} from '@patternfly/react-core';
import type { TaskRow } from '../api/types';
import { Pages } from '../pages';
import { useTexts } from '../texts';
import { NewTask } from './new_task';
import type { Act, Action } from './use_actions';
import type { Query } from './use_tasks';

interface ListToolbarProps {
  query: Query;
  total: number | undefined;
  chosen: readonly TaskRow[];
  onQuery: (part: Partial<Query>) => void;
  onAct: Act;
  onClear: () => void;
}

const allowed: Record<Exclude<Action, 'stop'>, (row: TaskRow) => boolean> = {
  run: (row) => row.can_run,
  enable: (row) => row.can_edit,
  disable: (row) => row.can_edit,
  delete: (row) => row.can_delete,
};

/** The actions for the chosen tasks; those that one of them does not allow leave it out. */
function BulkActions({
  chosen,
  onAct,
  onClear,
}: Pick<ListToolbarProps, 'chosen' | 'onAct' | 'onClear'>) {
  const { t, count } = useTexts();
  return (
    <ToolbarGroup variant="action-group" role="group" aria-label={t('bulk_actions')}>
      <ToolbarItem>
        <strong role="status">{count('chosen', chosen.length)}</strong>
      </ToolbarItem>
      {(['run', 'enable', 'disable', 'delete'] as const).map((action) => {
        const rows = chosen.filter(allowed[action]);
        return (
          <ToolbarItem key={action}>
            <Button
              variant="secondary"
              size="sm"
              isDanger={action === 'delete'}
              isDisabled={rows.length === 0}
              onClick={() => void onAct(action, rows)}
            >
              {t(action)}
            </Button>
          </ToolbarItem>
        );
      })}
      <ToolbarItem>
        <Button variant="link" size="sm" onClick={onClear}>
          {t('choose_none')}
        </Button>
      </ToolbarItem>
    </ToolbarGroup>
  );
}

export function ListToolbar(props: ListToolbarProps) {
  const { query, total, chosen, onQuery, onAct, onClear } = props;
  const { t } = useTexts();
  return (
    <Toolbar aria-label={t('list_tools')} inset={{ default: 'insetNone' }}>
      <ToolbarContent>
        <ToolbarItem>
          <SearchInput
            aria-label={t('search')}
            placeholder={t('search')}
            resetButtonLabel={t('clear_search')}
            value={query.search}
            onChange={(_, search) => onQuery({ search })}
            onClear={() => onQuery({ search: '' })}
          />
        </ToolbarItem>
        <ToolbarItem>
          <NewTask />
        </ToolbarItem>
        {chosen.length > 0 && <BulkActions chosen={chosen} onAct={onAct} onClear={onClear} />}
        <ToolbarItem variant="pagination" align={{ default: 'alignEnd' }}>
          <Pages
            total={total ?? 0}
            page={query.page}
            perPage={query.perPage}
            onPage={(page, perPage) => onQuery({ page, perPage })}
          />
        </ToolbarItem>
      </ToolbarContent>
    </Toolbar>
  );
}
