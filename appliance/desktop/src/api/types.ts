// The documents of the API under short names.
import type { components } from './schema';

type Schemas = components['schemas'];

export type Envelope =
  | { success: true; data: unknown }
  | { success: false; error: { code: number; data: { msg?: string } | null } };

export type Session = Schemas['Session'];
export type Language = Schemas['Language'];
export type Account = Schemas['Account'];
export type Share = Schemas['Share'];

export type TaskType = Schemas['TaskType'];
export type TaskRow = Schemas['TaskRow'];
export type Schedule = Schemas['Schedule'];
export type ScriptExtra = Schemas['ScriptExtra'];
export type BeepExtra = Schemas['BeepExtra'];
export type ServiceExtra = Schemas['ServiceExtra'];
export type Service = Schemas['Service'];
export type ReservePolicy = Schemas['ReservePolicy'];
/** As it is answered, with the wish that is only sent. */
export type RecycleExtra = Schemas['RecycleExtra'] &
  Pick<Schemas['RecycleExtraInput'], 'enableRecycle'>;
/** A document as a form holds it: any type of task, its section as yet unread. */
export type Task = Schemas['TaskBase'] & { type: TaskType; extra: unknown };

export type Run = Schemas['Run'];
export type RunResult = Schemas['RunResult'];
export type PreviewRun = Schemas['DueTime'];
