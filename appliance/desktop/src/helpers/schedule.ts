// A schedule in plain words, and what the appliance would refuse of it.
import type { Schedule } from '../api/types';
import { list, timeOfDay, wallClockTime, weekdayName, weekOrder } from './format';
import type { Texts } from './texts';

export const repeats = [
  'never',
  'daily',
  'weekly',
  'monthly',
  'quarterly',
  'half_yearly',
  'yearly',
] as const;

export const maxTimeLimit = 366 * 24 * 60;

export const weekdaysOf = (schedule: Schedule): number[] =>
  schedule.week_day
    .split(',')
    .filter((day) => /^[0-6]$/.test(day))
    .map(Number);

export const printWeekdays = (days: Iterable<number>): string =>
  [...new Set(days)].sort((a, b) => a - b).join(',');

/** Minutes between the runs of a day; 0 for one run. */
export const intervalOf = (schedule: Schedule): number =>
  Number(schedule.repeat_hour) * 60 + Number(schedule.repeat_min);

/** The intervals that a form offers, in minutes, with the one that is set among them. */
export function offeredIntervals(schedule: Schedule): number[] {
  const hours = (schedule.repeat_hour_store_config ?? []).map((hour) => hour * 60);
  const offered = [...(schedule.repeat_min_store_config ?? []), ...hours, intervalOf(schedule)];
  return [...new Set(offered)].filter((minutes) => minutes > 0).sort((a, b) => a - b);
}

/** A time field's text, "06:15". */
export const printTime = (hour: number, minute: number): string =>
  `${String(hour).padStart(2, '0')}:${String(minute).padStart(2, '0')}`;

export function parseTime(text: string): { hour: number; minute: number } | undefined {
  const parts = /^(\d{2}):(\d{2})/.exec(text);
  return parts ? { hour: Number(parts[1]), minute: Number(parts[2]) } : undefined;
}

function isDate(text: string): boolean {
  if (!/^\d{4}-\d{2}-\d{2}$/.test(text) || text < '1970-01-01') return false;
  const date = new Date(`${text}T00:00:00Z`);
  return !Number.isNaN(date.getTime()) && date.toISOString().startsWith(text);
}

export type ScheduleField =
  'week_day' | 'date' | 'time' | 'interval' | 'last' | 'timezone' | 'limit';
/** What is wrong, field by field: keys of texts. */
export type Faults<Field extends string> = Partial<Record<Field, string>>;

const isIn = (value: unknown, max: number): boolean =>
  Number.isInteger(Number(value)) && Number(value) >= 0 && Number(value) <= max;

/** `timezones` is empty while the names are not known. */
export function scheduleFaults(s: Schedule, timezones: readonly string[]): Faults<ScheduleField> {
  const faults: Faults<ScheduleField> = {};
  if (s.type === 'weekly' && weekdaysOf(s).length === 0) faults.week_day = 'fault_week_day';
  if (s.type === 'date' && !isDate(s.date)) faults.date = 'fault_date';
  if (!isIn(s.hour, 23) || !isIn(s.minute, 59)) faults.time = 'fault_time';
  if (!isIn(s.repeat_hour, 23) || !isIn(s.repeat_min, 59)) faults.interval = 'fault_interval';
  const first = Number(s.hour) * 60 + Number(s.minute);
  const last = Number(s.last_hour) * 60 + Number(s.last_min);
  if (!isIn(s.last_hour, 23) || !isIn(s.last_min, 59)) faults.last = 'fault_time';
  else if (intervalOf(s) > 0 && last < first) faults.last = 'fault_last_before_first';
  if (s.timezone !== '' && timezones.length > 0 && !timezones.includes(s.timezone))
    faults.timezone = 'fault_timezone';
  if (!isIn(s.time_limit, maxTimeLimit)) faults.limit = 'fault_limit';
  return faults;
}

function dayWords(s: Schedule, texts: Texts): string {
  const { t, language } = texts;
  if (s.type === 'date') {
    return t(`words_date_${s.repeat_date}`, { date: wallClockTime(s.date, language) });
  }
  const days = weekdaysOf(s);
  const printed = printWeekdays(days);
  if (printed === '0,1,2,3,4,5,6') return t('words_every_day');
  if (printed === '1,2,3,4,5') return t('words_weekdays');
  const names = weekOrder(language).filter((day) => days.includes(day));
  return t('words_weekly', {
    days: list(
      names.map((day) => weekdayName(day, language, 'long')),
      language,
    ),
  });
}

/** "every 30 minutes". */
export function intervalWords(minutes: number, texts: Texts): string {
  const [hours, rest] = [Math.floor(minutes / 60), minutes % 60];
  if (hours === 0) return texts.count('every_minutes', rest);
  if (rest === 0) return texts.count('every_hours', hours);
  return texts.t('every_both', { time: `${hours}:${String(rest).padStart(2, '0')}` });
}

/** "Every weekday at 6:15 AM, then every 30 minutes until 6:00 PM." */
export function scheduleWords(s: Schedule, texts: Texts): string {
  const { t, language } = texts;
  const values = {
    days: dayWords(s, texts),
    time: timeOfDay(Number(s.hour), Number(s.minute), language),
    interval: intervalWords(intervalOf(s), texts),
    last: timeOfDay(Number(s.last_hour), Number(s.last_min), language),
  };
  const when = t(intervalOf(s) > 0 ? 'words_interval' : 'words_once', values);
  return s.timezone === '' ? when : t('words_zone', { when, zone: s.timezone });
}
