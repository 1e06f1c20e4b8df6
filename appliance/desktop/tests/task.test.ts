import { describe, expect, it } from 'vitest';
import type { RecycleExtra, Task, TaskRow } from '../src/api/types';
import { cutOf } from '../src/helpers/output';
import { linkSecret, parseRoute, routeAddress } from '../src/helpers/route';
import { matcher } from '../src/helpers/search';
import { changesUpon, differingParts, same, taskFaults, wholeNumber } from '../src/helpers/task';

const task = {
  id: 7,
  name: 'Nightly',
  type: 'script',
  owner: 'root',
  enable: true,
  can_edit_name: true,
  can_edit_owner: true,
  action: 'Run: ls',
  schedule: { hour: 6, minute: 15, unknown: { kept: [1] } },
  extra: { script: 'ls', note: 'kept' },
} as unknown as Task;

describe('what two people change of one task', () => {
  it('is told by its parts, but not by texts of a language', () => {
    const other = { ...task, action: 'Tun: ls', schedule: { ...task.schedule, hour: 7 } };
    expect(differingParts(task, other)).toEqual(['schedule']);
    expect(same({ a: [1, { b: null }], c: 2 }, { c: 2, a: [1, { b: null }] })).toBe(true);
    expect([same([1], { 0: 1 }), same({ a: undefined }, {}), same('1', 1)]).not.toContain(true);
  });
  it('is kept member by member, and the own change wins where both changed', () => {
    const stored = { ...task, name: 'Theirs', schedule: { ...task.schedule, hour: 7, minute: 0 } };
    const extra = { script: 'pwd', note: 'kept' };
    const mine = { ...task, owner: 'me', schedule: { ...task.schedule, hour: 9 }, extra };
    const schedule = { ...task.schedule, hour: 9, minute: 0 };
    expect(changesUpon(stored, task, mine)).toEqual({ ...stored, owner: 'me', schedule, extra });
  });
});

describe('what is wrong with a task', () => {
  const keep = { size_greater_check: false, size_smaller_check: false, extension_check: false };
  const bins = (shares: object, files: object): Task => {
    const extra: RecycleExtra = {
      clean_share_policy: { clean_all: true, shares: null, ...shares },
      clean_file_policy: { policy: 'time', time: 30, reserve_policy: keep, ...files },
    };
    return { ...task, id: -1, type: 'recycle', extra };
  };
  const keeping = (change: object) => bins({}, { reserve_policy: { ...keep, ...change } });
  const ending = (file_ext: string) =>
    keeping({ extension_check: true, extension: [{ file_ext }] });
  const beep = (seconds: unknown): Task => ({
    ...task,
    id: -1,
    type: 'beep',
    extra: { beep_duration: seconds },
  });
  const named = (name: string) => ({ ...bins({}, {}), name });
  it.each<[string, Task, string[]]>([
    ['nothing', bins({}, {}), []],
    ['no name', named(' '), ['name']],
    ['256 bytes of name', named('é'.repeat(128)), ['name']],
    ['255 bytes of name', named('é'.repeat(127) + 'e'), []],
    ['no share', bins({ clean_all: false, shares: [] }, {}), ['shares']],
    ['no days', bins({}, { time: undefined }), ['time']],
    ['days that nothing needs', bins({}, { policy: 'clean_all', time: undefined }), []],
    ['more megabytes than fit', bins({}, { policy: 'size', size: 2048 }), ['size']],
    ['as many as fit', bins({}, { policy: 'size', size: 2047 }), []],
    ['no size', keeping({ size_smaller_check: true }), ['size_smaller']],
    ['no ending', keeping({ extension_check: true, extension: [] }), ['extension']],
    ['an ending', ending('jpg'), []],
    ['an ending that a shell would take for its own', ending('$(x)'), ['extension']],
    ['the text of a blank beep', beep('60'), []],
    ['too long a beep', beep(601), ['beep']],
    ['a beep of no number', beep(''), ['beep']],
    ['no script', { ...task, id: -1, extra: { script: ' \n' } }, ['script']],
  ])('%s', (_, changed, fields) => {
    expect(Object.keys(taskFaults(changed, { ...changed, name: '' }))).toEqual(fields);
  });
  it('does not stand in the way when it was stored so', () => {
    const stored = { ...beep(1000), id: 7, name: '' };
    expect(taskFaults({ ...stored, enable: false }, stored)).toEqual({});
  });
  it('reads whole numbers only', () => {
    expect(['12', ' 7 '].map(wholeNumber)).toEqual([12, 7]);
    expect(['', '-1', '1e3', '1.5', '9999999999'].filter((text) => wholeNumber(text) >= 0)).toEqual(
      [],
    );
  });
});

describe('addresses', () => {
  it('name their views and nothing else', () => {
    const good = ['#/', '#/new/beep', '#/tasks/5', '#/runs', '#/tasks/5/runs', '#/tasks/5/runs/9'];
    expect(good.map((address) => routeAddress(parseRoute(address)))).toEqual(good);
    const others = ['', '#', '#/new/custom', '#/tasks/x', '#/tasks/-1', '#/tasks/5/x', '#/runs/3'];
    expect(others.filter((address) => parseRoute(address).view !== 'list')).toEqual([]);
  });
  it('hold the secret of a link', () => {
    const found = ['#sign-in=0af9', '#sign-in=', '#/sign-in=0a', '#sign-in=0a<'].map(linkSecret);
    expect(found).toEqual(['0af9', undefined, undefined, undefined]);
  });
});

describe('the quick search', () => {
  const row = { id: 12, name: 'Übung <b>', action: 'Run: echo שלום', app_name: 'Notes' } as TaskRow;
  it.each([
    ['ubung', true],
    ['NOTES run', true],
    ['<b>', true],
    ['שלום', true],
    [' ', true],
    ['ubung beep', false],
  ])('%s: %s', (search, found) => expect(matcher(search)(row)).toBe(found));
});

describe('output', () => {
  it('is shown without the line that tells of a cut', () => {
    const line = '\n[512 more bytes were cut]\n';
    expect(cutOf(`a\n${line}`)).toEqual({ text: 'a\n', cut: 512 });
    expect(cutOf(`${line}b`)).toEqual({ text: `${line}b`, cut: 0 });
  });
});
