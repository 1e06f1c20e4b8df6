// Where one is, as it stands behind the # of the address.
import type { TaskType } from '../api/types';

export type FormType = Extract<TaskType, 'script' | 'beep' | 'service' | 'recycle'>;
export const formTypes: readonly FormType[] = ['script', 'beep', 'service', 'recycle'];

export type Route =
  | { view: 'list' }
  | { view: 'new'; type: FormType }
  | { view: 'task'; id: number }
  | { view: 'runs'; task?: number }
  | { view: 'run'; id: number; task: number };

const isFormType = (text: string | undefined): text is FormType =>
  (formTypes as readonly string[]).includes(text ?? '');

const idOf = (text: string | undefined): number | undefined =>
  text !== undefined && /^[0-9]{1,15}$/.test(text) ? Number(text) : undefined;

/** The route of an address; the list for one that names nothing. */
export function parseRoute(hash: string): Route {
  const [first, second, third, fourth] = hash.replace(/^#?\/?/, '').split('/');
  const id = idOf(second);
  if (first === 'new' && isFormType(second)) return { view: 'new', type: second };
  if (first === 'runs' && second === undefined) return { view: 'runs' };
  if (first !== 'tasks' || id === undefined) return { view: 'list' };
  if (third === undefined) return { view: 'task', id };
  const run = idOf(fourth);
  if (third !== 'runs') return { view: 'list' };
  return run === undefined ? { view: 'runs', task: id } : { view: 'run', id: run, task: id };
}

export function routeAddress(route: Route): string {
  switch (route.view) {
    case 'list':
      return '#/';
    case 'new':
      return `#/new/${route.type}`;
    case 'task':
      return `#/tasks/${route.id}`;
    case 'runs':
      return route.task === undefined ? '#/runs' : `#/tasks/${route.task}/runs`;
    case 'run':
      return `#/tasks/${route.task}/runs/${route.id}`;
  }
}

/** The secret of a sign-in link, when the address is one. */
export const linkSecret = (hash: string): string | undefined =>
  /^#sign-in=([0-9a-f]+)$/.exec(hash)?.[1];
