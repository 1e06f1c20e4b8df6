import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { describe, expect, it } from 'vitest';
import type { Schedule } from '../src/api/types';
import { duration, relativeTime, wallClockTime, weekOrder } from '../src/helpers/format';
import {
  offeredIntervals,
  parseTime,
  printWeekdays,
  scheduleFaults,
  scheduleWords,
} from '../src/helpers/schedule';
import { makeTexts, type Strings, type Texts } from '../src/helpers/texts';

const daily: Schedule = {
  type: 'weekly',
  week_day: '0,1,2,3,4,5,6',
  date: '2026-11-21',
  repeat_date: 'never',
  hour: 6,
  minute: 15,
  repeat_hour: 0,
  repeat_min: 0,
  last_hour: 23,
  last_min: 59,
  timezone: '',
  missed: 'skip',
  time_limit: 0,
  repeat_min_store_config: [1, 30],
  repeat_hour_store_config: [1, 12],
};

function textsOf(language: string): Texts {
  const path = join(__dirname, `../../texts/${language}/strings.json`);
  return makeTexts(language, JSON.parse(readFileSync(path, 'utf8')) as Strings, {});
}
// The space before AM and PM is a narrow one.
const words = (change: Partial<Schedule>, language = 'en-US') =>
  scheduleWords({ ...daily, ...change }, textsOf(language)).replace(/\s/gu, ' ');

describe('a schedule in words', () => {
  it.each<[Partial<Schedule>, string]>([
    [{}, 'Every day at 6:15 AM'],
    [{ week_day: '5,4,3,2,1' }, 'Monday to Friday at 6:15 AM'],
    [{ week_day: '0,3' }, 'On Sunday and Wednesday at 6:15 AM'],
    [
      { repeat_min: 30, last_hour: 18, last_min: 0 },
      'Every day at 6:15 AM, then every 30 minutes until 6:00 PM',
    ],
    [{ repeat_hour: 1 }, 'Every day at 6:15 AM, then every hour until 11:59 PM'],
    [
      { repeat_hour: 1, repeat_min: 5 },
      'Every day at 6:15 AM, then every 1:05 hours until 11:59 PM',
    ],
    [{ type: 'date', date: '2026-12-31' }, 'On Thu, Dec 31, 2026 at 6:15 AM'],
    [
      { type: 'date', repeat_date: 'half_yearly', timezone: 'Asia/Tokyo' },
      'Every six months from Sat, Nov 21, 2026 at 6:15 AM (Asia/Tokyo)',
    ],
  ])('%j: %s', (change, expected) => expect(words(change)).toBe(expected));

  it('goes by the weeks and clocks of the language', () => {
    expect(words({ week_day: '0,3', hour: 18 }, 'de-DE')).toBe('Am Mittwoch und Sonntag um 18:15');
    expect(['en-US', 'de-DE', 'ar-EG'].map((each) => weekOrder(each)[0])).toEqual([0, 1, 6]);
  });
});

describe('what is wrong with a schedule', () => {
  it.each<[Partial<Schedule>, string[]]>([
    [{}, []],
    [{ week_day: '' }, ['week_day']],
    [{ week_day: '', type: 'date' }, []],
    [{ type: 'date', date: '2026-02-30' }, ['date']],
    [{ type: 'date', date: '1969-12-31' }, ['date']],
    [{ type: 'date', date: '' }, ['date']],
    [{ hour: 24 }, ['time']],
    [{ repeat_hour: 1, last_hour: 6, last_min: 14 }, ['last']],
    [{ repeat_hour: 1, last_hour: 6, last_min: 15 }, []],
    [{ last_hour: 0, last_min: 0 }, []],
    [{ repeat_hour: 24 }, ['interval']],
    [{ timezone: 'Europe/Berlin' }, []],
    [{ timezone: 'europe/berlin' }, ['timezone']],
    [{ time_limit: 527041 }, ['limit']],
    [{ time_limit: 1.5 }, ['limit']],
  ])('%j: %j', (change, fields) => {
    const faults = scheduleFaults({ ...daily, ...change }, ['Europe/Berlin']);
    expect(Object.keys(faults)).toEqual(fields);
  });
});

describe('parts of a schedule', () => {
  it('offers the intervals of the appliance and the one that is set', () => {
    const set = { ...daily, repeat_hour: 1, repeat_min: 30 };
    expect(offeredIntervals(set)).toEqual([1, 30, 60, 90, 720]);
    expect(offeredIntervals(daily)).toEqual([1, 30, 60, 720]);
  });
  it('reads and prints what its fields hold', () => {
    expect([parseTime('06:05'), parseTime('')]).toEqual([{ hour: 6, minute: 5 }, undefined]);
    expect(printWeekdays([6, 0, 3, 3])).toBe('0,3,6');
  });
});

describe('moments', () => {
  it('are told by the largest unit that fits', () => {
    const told = [59, 60, 3599, 86400, -7200, 0].map((seconds) => relativeTime(seconds, 'en'));
    expect(told.slice(0, 3)).toEqual(['in 59 seconds', 'in 1 minute', 'in 59 minutes']);
    expect(told.slice(3)).toEqual(['tomorrow', '2 hours ago', 'now']);
    expect([0, 61, 3723, -5].map(duration)).toEqual(['0:00', '1:01', '1:02:03', '0:00']);
  });
  it('of the wall clock stay where they are in any zone', () => {
    expect(wallClockTime('2026-03-29 02:30', 'de-DE')).toMatch(/, 0?2:30$/);
    expect(wallClockTime('-', 'de-DE')).toBe('-');
  });
});
