// Moments and durations as people read them.

const units: [Intl.RelativeTimeFormatUnit, number][] = [
  ['day', 86400],
  ['hour', 3600],
  ['minute', 60],
  ['second', 1],
];

/** "in 3 hours", "2 minutes ago": by the largest unit that fits. */
export function relativeTime(seconds: number, language: string): string {
  const [unit, size] = units.find(([, s]) => Math.abs(seconds) >= s) ?? ['second', 1];
  return new Intl.RelativeTimeFormat(language, { numeric: 'auto' }).format(
    Math.trunc(seconds / size),
    unit,
  );
}

/** "1:02:03" or "2:03", for how long a run took. */
export function duration(seconds: number): string {
  const whole = Math.max(0, Math.floor(seconds));
  const two = (n: number) => String(n).padStart(2, '0');
  const [h, m, s] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60, whole % 60];
  return h > 0 ? `${h}:${two(m)}:${two(s)}` : `${m}:${two(s)}`;
}

/** A moment (seconds since 1970 UTC) in the browser's own zone. */
export const moment = (seconds: number, language: string): string =>
  new Intl.DateTimeFormat(language, { dateStyle: 'medium', timeStyle: 'medium' }).format(
    seconds * 1000,
  );

// A wall-clock time without a zone is formatted as if it were UTC, so that nothing moves it.
const wallClock = (local: string): Date | undefined => {
  const parts = /^(\d{4})-(\d{2})-(\d{2})(?: (\d{2}):(\d{2}))?$/.exec(local);
  if (!parts) return undefined;
  const [year, month, day, hour, minute] = parts.slice(1).map((part) => Number(part ?? 0));
  return new Date(Date.UTC(year!, month! - 1, day!, hour || 0, minute || 0));
};

/**
 * "2026-11-22 06:15" as "Sun, Nov 22, 2026, 6:15 AM", without the year in that year; a text of
 * another shape as it is.
 */
export function wallClockTime(local: string, language: string, present = 0): string {
  const date = wallClock(local);
  if (!date) return local;
  return new Intl.DateTimeFormat(language, {
    weekday: 'short',
    ...(date.getUTCFullYear() === present ? {} : { year: 'numeric' }),
    month: 'short',
    day: 'numeric',
    ...(local.length > 10 ? { hour: 'numeric', minute: '2-digit' } : {}),
    timeZone: 'UTC',
  }).format(date);
}

export const timeOfDay = (hour: number, minute: number, language: string): string =>
  new Intl.DateTimeFormat(language, {
    hour: 'numeric',
    minute: '2-digit',
    timeZone: 'UTC',
  }).format(new Date(Date.UTC(2026, 0, 1, hour, minute)));

/** The name of a weekday, 0 for Sunday. */
export const weekdayName = (day: number, language: string, style: 'short' | 'long'): string =>
  new Intl.DateTimeFormat(language, { weekday: style, timeZone: 'UTC' }).format(
    new Date(Date.UTC(2026, 0, 4 + day)),
  );

/** The days 0 to 6 in the order in which the language's weeks go. */
export function weekOrder(language: string): number[] {
  const locale = new Intl.Locale(language) as Intl.Locale & {
    weekInfo?: { firstDay: number };
    getWeekInfo?: () => { firstDay: number };
  };
  const first = (locale.getWeekInfo?.() ?? locale.weekInfo)?.firstDay ?? 1;
  return [0, 1, 2, 3, 4, 5, 6].map((index) => (index + first) % 7);
}

export const list = (names: string[], language: string): string =>
  new Intl.ListFormat(language, { type: 'conjunction' }).format(names);

export const bytes = (size: number, language: string): string => {
  const kib = size >= 1024;
  const number = new Intl.NumberFormat(language, { maximumFractionDigits: 1 });
  return kib ? `${number.format(size / 1024)} KiB` : `${number.format(size)} B`;
};
