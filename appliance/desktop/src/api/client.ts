// The API, one function a method.
import { callMethod, fetchJson, postJson, type Parameters } from './transport';
import type { Envelope, Schedule, Session, Task, TaskType } from './types';

const tasks = '/webapi/KAVO.Core.TaskScheduler';
const runs = '/webapi/KAVO.Appliance.TaskRun/1';
const schedules = '/webapi/KAVO.Appliance.Schedule/1';

export type ListQuery = Parameters<`${typeof tasks}/1/list`>;
export type SortKey = NonNullable<ListQuery['sort_by']>;
export type RunQuery = Parameters<`${typeof runs}/list`>;

export const getSession = () => fetchJson('/webapi/session') as Promise<Session>;
export const signIn = (body: { user: string; password: string } | { link: string }) =>
  postJson('/webapi/sign-in', body) as Promise<Session>;
export const signOut = () => postJson('/webapi/sign-out', {});
/** Answers also while something is amiss, which then stands in the error. */
export async function getHealth(): Promise<{ store: boolean; scheduler: boolean }> {
  const body = (await (await fetch('/healthz')).json()) as Envelope;
  return (body.success ? body.data : body.error.data) as { store: boolean; scheduler: boolean };
}

export const listTasks = (query: ListQuery) => callMethod(`${tasks}/1/list`, query);
export const getTask = (id: number): Promise<Task> => callMethod(`${tasks}/2/get`, { id });
export const getBlankTask = (type: TaskType): Promise<Task> =>
  callMethod(`${tasks}/2/get`, { id: -1, type });
// A form sends what it was given, with members that only the appliance knows.
export const createTask = (task: object) =>
  callMethod(`${tasks}/2/create`, task as Parameters<`${typeof tasks}/2/create`>);
export const setTask = (task: object) =>
  callMethod(`${tasks}/2/set`, task as Parameters<`${typeof tasks}/2/set`>);
export const setEnable = (id: number, enable: boolean) =>
  callMethod(`${tasks}/1/set_enable`, { status: [{ id, enable }] });
export const runTask = (task: number) => callMethod(`${tasks}/1/run`, { task });
export const deleteTask = (task: number) => callMethod(`${tasks}/1/delete`, { task });

export const listRuns = (query: RunQuery) => callMethod(`${runs}/list`, query);
export const lastRuns = (ids: number[], revision?: number) =>
  callMethod(`${runs}/last`, { tasks: ids, ...(revision === undefined ? {} : { revision }) });
export const getOutput = (id: number, offset: number) =>
  callMethod(`${runs}/output`, { id, offset });
export const stopRun = (id: number) => callMethod(`${runs}/stop`, { id });

export const previewRuns = (schedule: Schedule, count: number, signal: AbortSignal) =>
  callMethod(`${schedules}/preview`, { schedule, count }, signal);
export const listTimezones = () => callMethod(`${schedules}/timezones`, {});
export const listAccounts = () => callMethod('/webapi/KAVO.Appliance.Account/1/list', {});
export const listShares = () => callMethod('/webapi/KAVO.Appliance.Share/1/list', {});
