import type { Page } from 'playwright-core';
import { expect, it } from 'vitest';
import type { Task } from '../src/api/types';
import { accessibilityFaults, scene } from './browser';

const { appliance, visit } = scene();
const stored = (id: number) => appliance.call(2, 'get', { id }) as Task;
const open = async (page: Page, address: string) => {
  await page.goto(`${appliance.address}/#/${address}`);
  await page.getByRole('textbox', { name: 'Name', exact: true }).waitFor();
};
const save = async (page: Page) => {
  await page.getByRole('button', { name: /^(Save|Create task)$/ }).click();
  await page.getByRole('heading', { name: 'Tasks' }).waitFor();
};
const script = (page: Page) => page.getByRole('textbox', { name: 'Command or script' });

interface Kind {
  type: string;
  fill: (page: Page) => Promise<unknown>;
  edit: (page: Page) => Promise<unknown>;
  /** What the section of the app holds afterwards. */
  holds: unknown;
}

const kinds: Kind[] = [
  {
    type: 'script',
    fill: async (page) => {
      await script(page).fill('echo one\necho two');
      await page.getByRole('button', { name: 'Weekend' }).click();
      await page.getByRole('button', { name: 'Mon', exact: true }).click();
      await page.getByLabel('During the day').selectOption({ label: 'Every 20 minutes' });
      await page.getByLabel('Last start').fill('18:30');
      await page.getByLabel('Time zone').fill('Asia/Tokyo');
      await page.getByRole('spinbutton', { name: 'Stop a run after' }).fill('90');
      await page.getByLabel('Run once as soon as it is on again').check();
    },
    edit: (page) =>
      script(page)
        .press('Control+End')
        .then(() => page.keyboard.type('; true')),
    holds: { script: 'echo one\necho two; true' },
  },
  {
    type: 'beep',
    fill: async (page) => {
      await page.getByLabel('Duration in seconds').last().fill('90');
      await page.getByLabel('On a date').check();
      await page.getByLabel('First day').fill('2040-02-29');
      await page.getByLabel('Repeat').selectOption('half_yearly');
    },
    edit: (page) => page.getByRole('slider').press('ArrowRight'),
    holds: { beep_duration: 91 },
  },
  {
    type: 'service',
    fill: async (page) => {
      await page.getByLabel('Start them').check();
      await page.getByLabel('Search services and packages').fill('sftp');
      await page.getByRole('checkbox', { name: 'SFTP' }).check();
    },
    edit: (page) => page.getByRole('checkbox', { name: 'NTP time service' }).check(),
    holds: {
      action: 'start',
      services: expect.arrayContaining([
        expect.objectContaining({ id: 'SFTP', enable: true }),
        expect.objectContaining({ id: 'NTP', enable: true }),
        expect.objectContaining({ id: 'FTP', enable: false }),
      ]),
    },
  },
  {
    type: 'recycle',
    fill: async (page) => {
      await page.getByLabel('Only these').check();
      await page.getByRole('checkbox', { name: 'Music & "Films"' }).check();
      await page.getByLabel('As much as exceeds a size').check();
      await page.getByLabel('Size that may stay').fill('2047');
      await page.getByLabel('Which files go first').selectOption({ label: 'Large files go first' });
      await page.getByRole('checkbox', { name: 'Files with these endings' }).check();
      await page.getByRole('textbox', { name: 'Files with these endings' }).fill('.raw, jpg');
      await page.getByLabel('Switch the recycle bins of these shares on now').check();
    },
    edit: (page) => page.getByLabel('What has been in a bin for longer than').check(),
    holds: {
      clean_share_policy: { clean_all: false, shares: ['Music & "Films"'] },
      clean_file_policy: {
        policy: 'time',
        time: 30,
        reserve_policy: {
          size_greater_check: false,
          size_smaller_check: false,
          extension_check: true,
          extension: [{ file_ext: 'raw' }, { file_ext: 'jpg' }],
        },
      },
    },
  },
];

it.each(kinds)('creates, opens, keeps and changes: $type', async ({ type, fill, edit, holds }) => {
  const { page } = await visit();
  await page
    .getByRole('heading', { name: /Tasks|first task/ })
    .first()
    .waitFor();
  await open(page, `new/${type}`);
  await page.getByRole('textbox', { name: 'Name', exact: true }).fill(`A ${type}`);
  await fill(page);
  expect(await accessibilityFaults(page)).toEqual([]);
  await save(page);
  await page.getByRole('row', { name: `A ${type}` }).waitFor();

  const { id } = JSON.parse(appliance.kavo('task', 'list', '--json')).find(
    (task: Task) => task.name === `A ${type}`,
  ) as Task;
  const [before, all] = [stored(id), appliance.stored()];
  expect(before.enable).toBe(true);
  if (type === 'script')
    expect(before.schedule).toMatchObject({
      week_day: '0,1,6',
      repeat_min: 20,
      last_hour: 18,
      last_min: 30,
      timezone: 'Asia/Tokyo',
      time_limit: 90,
      missed: 'once',
    });
  if (type === 'beep')
    expect(before.schedule).toMatchObject({
      type: 'date',
      date: '2040-02-29',
      repeat_date: 'half_yearly',
    });

  await open(page, `tasks/${id}`);
  await save(page);
  expect(appliance.stored()).toBe(all);

  await open(page, `tasks/${id}`);
  await edit(page);
  await save(page);
  expect(stored(id)).toMatchObject({ name: before.name, schedule: before.schedule, extra: holds });
});

it('opens with what was stored, in whatever shape', async () => {
  const odd = appliance.script('Odd', 'true', {
    schedule: { hour: '6', repeat_hour: 5, repeat_min: 7, note: { kept: [1, null] } },
    extra: { script: 'true', note: ['kept'] },
  });
  const long = { type: 'beep', name: 'Long', owner: 'root', extra: { beep_duration: 1000 } };
  const { id: beep } = appliance.call(2, 'create', long) as { id: number };
  appliance.foreignTask();
  const { id: foreign } = (
    appliance.call(1, 'list', { sort_by: 'id', sort_direction: 'desc', limit: 1 }) as {
      tasks: Task[];
    }
  ).tasks[0]!;
  const before = appliance.stored();

  const { page } = await visit();
  for (const id of [odd, beep, foreign]) {
    await open(page, `tasks/${id}`);
    await save(page);
  }
  expect(appliance.stored()).toBe(before);
  await open(page, `tasks/${beep}`);
  await page.getByText('The appliance beeps for 600 seconds').waitFor();
  await open(page, `tasks/${foreign}`);
  await page.getByText('What this task does is set up in the app').waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
  await page.getByLabel('Time', { exact: true }).fill('05:05');
  await save(page);
  expect(stored(foreign).schedule).toMatchObject({ hour: 5, minute: 5 });
});

it('says at the field what would be refused, and in words what is', async () => {
  const { page } = await visit();
  const task = appliance.script('Short-lived', 'true');
  const before = appliance.stored();
  await open(page, 'new/recycle');
  await page.getByLabel('Only these').check();
  await page.getByLabel('As much as exceeds a size').check();
  await page.getByLabel('Size that may stay').fill('2048');
  await page.getByLabel('During the day').selectOption({ label: 'Every hour' });
  await page.getByLabel('First start').fill('12:00');
  await page.getByLabel('Last start').fill('11:59');
  await page.getByLabel('Time zone').fill('Nowhere');
  await page.getByRole('button', { name: 'Create task' }).click();
  for (const words of [
    'Give the task a name.',
    'Choose at least one shared folder.',
    'Choose 0 to 2047 megabytes.',
    'The last start lies before the first.',
    'The appliance does not know this time zone.',
  ])
    await page.getByText(words).waitFor();
  await page.locator('#task-name:focus').waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
  expect(appliance.stored()).toBe(before);

  // What was typed is asked about before it is lost, also by the browser's own way back.
  await page.goBack();
  await page.getByRole('dialog', { name: 'Discard your changes?' }).waitFor();
  await page.getByRole('button', { name: 'Keep editing' }).click();
  expect(await page.getByLabel('Time zone').inputValue()).toBe('Nowhere');
  await page.getByRole('button', { name: 'Cancel' }).click();
  await page.getByRole('button', { name: 'Discard' }).click();

  await open(page, `tasks/${task}`);
  await page.getByRole('textbox', { name: 'Name', exact: true }).fill('Still here');
  appliance.call(1, 'delete', { task });
  await page.getByRole('button', { name: 'Save' }).click();
  await page.getByText('There is no such task any more.').waitFor();
  expect(await page.getByRole('textbox', { name: 'Name', exact: true }).inputValue()).toBe(
    'Still here',
  );
});

it('shows the next runs as one types, and where a clock change moves one', async () => {
  const { page } = await visit();
  const year = new Date().getFullYear() + 1;
  const lastSunday = (month: number) => {
    const day = new Date(Date.UTC(year, month, 0));
    day.setUTCDate(day.getUTCDate() - day.getUTCDay());
    return day.toISOString().slice(0, 10);
  };
  await open(page, 'new/script');
  await page.getByLabel('On a date').check();
  await page.getByLabel('Time', { exact: true }).fill('02:30');
  await page.getByLabel('Time zone').fill('Europe/Berlin');
  const runs = page.locator('.kavo-next-list li');
  await page.getByLabel('First day').fill(lastSunday(3));
  await expect
    .poll(() => runs.allInnerTexts())
    .toEqual([expect.stringMatching(/3:00\sAM[^]*Moved by the clock change/)]);
  await page.getByLabel('First day').fill(lastSunday(10));
  await expect
    .poll(() => runs.allInnerTexts())
    .toEqual([expect.stringMatching(/2:30\sAM[^]*This time comes twice/)]);
  await page.getByLabel('Repeat').selectOption('daily');
  await expect.poll(() => runs.count()).toBe(5);
  await page.getByText('Time zone: Europe/Berlin').waitFor();
});

it('lets two people edit one task without undoing each other', async () => {
  const id = appliance.script('Shared', 'one');
  const [ann, bob] = [await visit(), await visit()];
  const edit = async (page: Page, name: string, text: string) => {
    await open(page, `tasks/${id}`);
    await page.getByRole('textbox', { name: 'Name', exact: true }).fill(name);
    await script(page).fill(text);
  };
  await edit(bob.page, 'Shared', 'two');
  await edit(ann.page, "Ann's", 'one');
  await save(ann.page);
  await bob.page.getByRole('button', { name: 'Save' }).click();
  const question = bob.page.getByRole('dialog', { name: /changed by somebody else/ });
  await question.getByText('its name').waitFor();
  expect(await accessibilityFaults(bob.page)).toEqual([]);
  await bob.page.getByRole('button', { name: 'Save my changes' }).click();
  await bob.page.getByRole('heading', { name: 'Tasks' }).waitFor();
  expect(stored(id)).toMatchObject({ name: "Ann's", extra: { script: 'two' } });

  await edit(bob.page, "Bob's", 'three');
  await edit(ann.page, "Ann's again", 'four');
  await save(ann.page);
  await bob.page.getByRole('button', { name: 'Save' }).click();
  await bob.page.getByRole('button', { name: 'Discard mine and reload' }).click();
  await expect
    .poll(() => bob.page.getByRole('textbox', { name: 'Name', exact: true }).inputValue())
    .toBe("Ann's again");
  expect(stored(id)).toMatchObject({ name: "Ann's again", extra: { script: 'four' } });
});

it('shows markup, quotes, emoji and right-to-left letters as text', async () => {
  const odd = `<img src=x onerror="alert('x')"> & 'q' "q" {name} 😀 שלום עולם`;
  const { page } = await visit();
  await open(page, 'new/script');
  await page.getByRole('textbox', { name: 'Name', exact: true }).fill(odd);
  await script(page).fill(`echo '${odd.replaceAll("'", '`')}'`);
  await save(page);
  const row = page.getByRole('row').filter({ hasText: 'onerror' });
  await row.getByRole('button', { name: odd, exact: true }).waitFor();
  await page.getByText(`The task “${odd}” was created.`).waitFor();
  await row.getByRole('button', { name: /^Actions for/ }).click();
  await page.getByRole('menuitem', { name: 'Run now' }).click();
  await row.getByRole('button', { name: /^Successful/ }).click();
  await page.getByText(odd.replaceAll("'", '`')).waitFor();
  expect(await page.locator('img[src="x"]').count()).toBe(0);
  expect(appliance.stored()).toContain('שלום');
});
