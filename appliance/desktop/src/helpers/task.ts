// A task's document: what a form changed of it, and what the appliance would refuse.
import type { BeepExtra, RecycleExtra, ScriptExtra, Task } from '../api/types';
import type { Faults } from './schedule';

/** Deep equality of JSON values; the order of members does not count. */
export function same(a: unknown, b: unknown): boolean {
  if (a === b) return true;
  if (typeof a !== 'object' || typeof b !== 'object' || a === null || b === null) return false;
  if (Array.isArray(a) !== Array.isArray(b)) return false;
  const [left, right] = [a as Record<string, unknown>, b as Record<string, unknown>];
  const names = Object.keys(left);
  return (
    names.length === Object.keys(right).length &&
    names.every((name) => name in right && same(left[name], right[name]))
  );
}

export const storedParts = ['name', 'owner', 'enable', 'schedule', 'extra'] as const;
export type StoredPart = (typeof storedParts)[number];

/** The parts in which two documents differ; texts of the list's language are not among them. */
export const differingParts = (a: Task, b: Task): StoredPart[] =>
  storedParts.filter((part) => !same(a[part], b[part]));

/**
 * What somebody changed, `from` to `mine`, upon what is stored now. Members of a section are taken
 * one by one, so that a change of another one stays.
 */
export function changesUpon(stored: Task, from: Task, mine: Task): Task {
  const merge = (now: unknown, before: unknown, after: unknown): unknown => {
    if (same(before, after)) return now;
    const objects = [now, before, after];
    if (objects.some((v) => typeof v !== 'object' || v === null || Array.isArray(v))) return after;
    const [n, b, a] = objects as [Record<string, unknown>, Record<string, unknown>, typeof from];
    const changed = Object.entries(a).map(([name, value]) => [
      name,
      merge(n[name], b[name], value),
    ]);
    return { ...n, ...Object.fromEntries(changed) };
  };
  return merge(stored, from, mine) as Task;
}

const bytesOf = (text: string): number => new TextEncoder().encode(text).length;
const maxName = 255;
// The server takes 1 MiB, and the task's other members and the escapes of JSON come on top.
const maxScript = 500_000;

export const maxMegabytes = 2047;
export const maxDays = 36500;
export const maxBeep = 600;

/** A whole number as a field gives it, or NaN. */
export const wholeNumber = (text: string): number =>
  /^[0-9]{1,9}$/.test(text.trim()) ? Number(text) : NaN;

const isWithin = (value: unknown, low: number, high: number): boolean =>
  Number.isInteger(value) && Number(value) >= low && Number(value) <= high;

function recycleFaults(extra: RecycleExtra): Faults<TaskField> {
  const faults: Faults<TaskField> = {};
  const { clean_share_policy: shares, clean_file_policy: files } = extra;
  const keep = files.reserve_policy;
  if (!shares.clean_all && (shares.shares ?? []).length === 0) faults.shares = 'fault_shares';
  if (files.policy === 'time' && !isWithin(files.time, 0, maxDays)) faults.time = 'fault_days';
  if (files.policy === 'size' && !isWithin(files.size, 0, maxMegabytes)) faults.size = 'fault_size';
  if (keep.size_greater_check && !isWithin(keep.size_greater, 0, maxMegabytes))
    faults.size_greater = 'fault_size';
  if (keep.size_smaller_check && !isWithin(keep.size_smaller, 0, maxMegabytes))
    faults.size_smaller = 'fault_size';
  const extensions = (keep.extension ?? []).map((extension) => extension.file_ext);
  if (keep.extension_check && extensions.length === 0) faults.extension = 'fault_extension_none';
  else if (keep.extension_check && !extensions.every((ext) => /^[\p{L}\p{N}_+~-]+$/u.test(ext)))
    faults.extension = 'fault_extension';
  return faults;
}

export type TaskField =
  | 'name'
  | 'script'
  | 'beep'
  | 'services'
  | 'shares'
  | 'time'
  | 'size'
  | 'size_greater'
  | 'size_smaller'
  | 'extension';

function extraFaults(task: Task): Faults<TaskField> {
  switch (task.type) {
    case 'script': {
      const { script } = task.extra as ScriptExtra;
      if (typeof script !== 'string' || script.trim() === '') return { script: 'fault_script' };
      if (script.includes('\0')) return { script: 'fault_zero' };
      return bytesOf(script) > maxScript ? { script: 'fault_script_long' } : {};
    }
    case 'beep': {
      const { beep_duration: seconds } = task.extra as BeepExtra;
      return isWithin(Number(seconds), 1, maxBeep) ? {} : { beep: 'fault_beep' };
    }
    case 'recycle':
      return recycleFaults(task.extra as RecycleExtra);
    default:
      return {};
  }
}

/**
 * What is wrong with the document, field by field: keys of texts. A section that was stored as it
 * is and has not been changed is never in the way of saving the others.
 */
export function taskFaults(task: Task, opened: Task): Faults<TaskField> {
  const faults: Faults<TaskField> = {};
  const isNew = !(opened.id > 0);
  if (isNew || task.name !== opened.name) {
    if (task.name.trim() === '') faults.name = 'fault_name';
    else if (bytesOf(task.name) > maxName) faults.name = 'fault_name_long';
    else if (task.name.includes('\0')) faults.name = 'fault_zero';
  }
  return isNew || !same(task.extra, opened.extra) ? { ...faults, ...extraFaults(task) } : faults;
}
