// What the server refuses, in words.
import { getHealth } from './api/client';
import { ApiError, Unreachable } from './api/transport';
import { useTexts } from './texts';

// The module's own sentences are short and for programmers; each has one for people.
const words: Record<string, string> = {
  'Invalid (basic) object': 'refused_basic',
  'Invalid (schedule) object': 'refused_schedule',
  'invalid (schedule) object': 'refused_schedule',
  'Invalid (app) object': 'refused_app',
  'invalid (app) object': 'refused_app',
  'Failed to save task': 'refused_save',
  'Failed to load task': 'refused_gone',
  'Failed to get task': 'refused_gone',
  'Failed to update task': 'refused_save',
  'Failed to delete task': 'refused_delete',
};

const statuses: Record<number, string> = {
  401: 'sign_in_ended',
  413: 'refused_too_large',
  503: 'refused_busy',
  504: 'refused_late',
};

export function useFailureText(): (failure: unknown) => Promise<string> {
  const { t } = useTexts();
  return async (failure) => {
    if (failure instanceof Unreachable) return t('server_away');
    if (!(failure instanceof ApiError)) return String(failure);
    const { code, detail, status } = failure;
    if (code === 4803) {
      const health = await getHealth().catch(() => undefined);
      return t(health?.scheduler === false ? 'refused_no_scheduler' : 'refused_run');
    }
    const key = statuses[status] ?? words[detail] ?? (code === 4801 ? 'refused_gone' : undefined);
    return key ? t(key) : detail || t('failed');
  };
}
