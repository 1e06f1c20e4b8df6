import type { Page } from 'playwright-core';
import { beforeAll, expect, it } from 'vitest';
import { accessibilityFaults, scene } from './browser';

const { appliance, visit } = scene();
const count = 45;
const two = (n: number) => String(n).padStart(2, '0');

beforeAll(() => {
  for (let n = 1; n <= count; n++) {
    const schedule = { hour: n % 24, minute: n };
    appliance.script(`Task ${two(n)}`, `echo ${n * 7}`, { enable: n % 2 === 0, schedule });
  }
});

const names = (page: Page) => page.locator('td[data-label="Name"]').allInnerTexts();
const sortBy = (page: Page, column: string) =>
  page.getByRole('columnheader', { name: column }).getByRole('button').click();
const total = async (page: Page, text: string) => page.getByText(text).first().waitFor();

it('sorts by the server, and pages', async () => {
  const { page } = await visit();
  await total(page, '45 tasks');
  await sortBy(page, 'Name');
  await expect.poll(async () => (await names(page)).slice(0, 2)).toEqual(['Task 01', 'Task 02']);
  expect(await names(page)).toHaveLength(20);
  await sortBy(page, 'Name');
  await expect.poll(async () => (await names(page))[0]).toBe('Task 45');
  const calls: string[] = [];
  page.on('request', (request) => {
    if (request.url().endsWith('/list')) calls.push(request.postData() ?? '');
  });
  await page.getByRole('button', { name: 'Next page' }).click();
  await expect.poll(async () => (await names(page))[0]).toBe('Task 25');
  await page.getByRole('button', { name: 'Next page' }).click();
  await expect
    .poll(() => names(page))
    .toEqual(['Task 05', 'Task 04', 'Task 03', 'Task 02', 'Task 01']);
  expect(calls.map((call) => JSON.parse(call) as unknown)).toEqual(
    [20, 40].map((offset) => ({ sort_by: 'name', sort_direction: 'desc', offset, limit: 20 })),
  );
  for (const column of ['Enabled', 'Type', 'What it does', 'Next run']) {
    await sortBy(page, column);
    await page
      .getByRole('columnheader', { name: column })
      .and(page.locator('[aria-sort="ascending"]'))
      .waitFor();
  }
});

it('finds by words, and acts on several', async () => {
  const { page } = await visit();
  await page.getByRole('textbox', { name: 'Search tasks' }).fill('TASK 3');
  await expect.poll(async () => (await names(page)).sort()[0]).toBe('Task 03');
  await page.getByRole('textbox', { name: 'Search tasks' }).fill('echo 217');
  await expect.poll(() => names(page)).toEqual(['Task 31']);
  await page.getByRole('textbox', { name: 'Search tasks' }).fill('nothing of this');
  await page.getByRole('button', { name: 'Clear the search' }).last().click();
  await expect.poll(async () => (await names(page)).length).toBe(20);

  await sortBy(page, 'Name');
  for (const name of ['Task 01', 'Task 02', 'Task 03'])
    await page.getByRole('checkbox', { name: `Select ${name}` }).check();
  expect(await accessibilityFaults(page)).toEqual([]);
  const bulk = page.getByRole('group', { name: 'Actions for the selected tasks' });
  await bulk.getByRole('button', { name: 'Enable' }).click();
  await page.getByText('3 tasks are enabled.').waitFor();
  await bulk.getByRole('button', { name: 'Disable' }).click();
  await page.getByText('3 tasks are disabled.').waitFor();
  await bulk.getByRole('button', { name: 'Run' }).click();
  await page.getByText('3 tasks were started.').waitFor();
  await expect.poll(() => page.getByRole('button', { name: /^Successful/ }).count()).toBe(3);

  // One of them has gone in the meantime: the others are deleted all the same.
  const gone = (
    appliance.call(1, 'list', { sort_by: 'name', limit: 2 }) as { tasks: { id: number }[] }
  ).tasks[1]!.id;
  await bulk.getByRole('button', { name: 'Delete' }).click();
  appliance.call(1, 'delete', { task: gone });
  await page.getByRole('dialog').getByRole('button', { name: 'Delete' }).click();
  await page.getByText('2 tasks were deleted.').waitFor();
  await page.getByText('“Task 02” was not deleted').waitFor();
  await expect.poll(async () => (await names(page))[0]).toBe('Task 04');
  await total(page, '42 tasks');
});

it('shows within two seconds what happens elsewhere', async () => {
  const { page, expectErrors } = await visit();
  await sortBy(page, 'Name');
  const row = page.getByRole('row', { name: /Task 06/ });
  await row.waitFor();
  const soon = { timeout: 2000 };
  appliance.kavo('run', '6', '--wait');
  await row.getByText('Successful').waitFor(soon);
  appliance.call(1, 'set_enable', { status: [{ id: 6, enable: false }] });
  await row.getByText('Disabled').waitFor(soon);
  appliance.script('Task 00', 'true');
  await page.getByRole('row', { name: /Task 00/ }).waitFor(soon);
  await row.getByRole('switch', { name: 'Enable Task 06' }).press('Space');
  await page.getByText('“Task 06” is enabled.').waitFor();

  // Starting fails in words when there is nothing that could start it.
  await appliance.stopScheduler();
  expectErrors('/healthz');
  await row.getByRole('button', { name: 'Actions for Task 06' }).click();
  await page.getByRole('menuitem', { name: 'Run now' }).click();
  await page.getByText('No scheduler is at work on the appliance.').waitFor();
  await appliance.startScheduler();
});

it('stays quick with 10,000 tasks', { timeout: 120_000 }, async () => {
  const document = JSON.parse(appliance.stored()) as { tasks: object[] };
  const tasks = Array.from({ length: 10_000 }, (_, n) => ({
    ...document.tasks[0],
    id: 1000 + n,
    name: `Many ${n}`,
  }));
  appliance.write('many.json', JSON.stringify({ ...document, tasks }));
  appliance.kavo('import', `${appliance.root}/many.json`);
  const { page } = await visit();
  await total(page, '10,043 tasks');
  const start = Date.now();
  await sortBy(page, 'Name');
  await page.getByRole('button', { name: 'Next page' }).click();
  await page.getByText('Many 1015', { exact: true }).first().waitFor();
  expect(Date.now() - start).toBeLessThan(3000);
  await page.getByRole('textbox', { name: 'Search tasks' }).fill('many 9999');
  await expect.poll(() => names(page)).toEqual(['Many 9999']);
});
