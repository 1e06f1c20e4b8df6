import { expect, it } from 'vitest';
import { accessibilityFaults, scene, sidewaysOverflow, type Visit } from './browser';

const { appliance, visit } = scene();

it('adds a language by a folder, with English for what it lacks', async () => {
  const task = appliance.script('Nightly', 'echo done', { enable: true });
  appliance.kavo('run', String(task), '--wait');
  appliance.write(
    'usr/kavo/kavoman/webman/texts/ar-EG/strings.json',
    JSON.stringify({ common: { language_name: 'العربية' }, desktop: { tasks: 'المهام' } }),
  );
  const { page } = await visit();
  await page.getByRole('button', { name: 'Language: English' }).click();
  await page.getByRole('option', { name: 'العربية' }).click();
  await page.getByRole('heading', { name: 'المهام' }).waitFor();
  await page.getByRole('button', { name: 'New task' }).waitFor();
  expect(await page.evaluate(() => document.documentElement.dir)).toBe('rtl');
  expect(await sidewaysOverflow(page)).toBe(0);
  await page.reload();
  await page.getByRole('heading', { name: 'المهام' }).waitFor();

  const german = await visit({ locale: 'de-DE' });
  await german.page.getByRole('button', { name: 'Neue Aufgabe' }).waitFor();
  await german.page.getByText('Ausführen: echo done').waitFor();
});

const views = [
  '',
  'new/script',
  'new/beep',
  'new/service',
  'new/recycle',
  'runs',
  'tasks/1/runs/1',
];

async function faultsOfViews({ page }: Visit): Promise<unknown[]> {
  const faults: unknown[] = [];
  for (const view of views) {
    await page.goto(`${appliance.address}/#/${view}`);
    await page.getByRole('heading', { level: 1 }).waitFor();
    await page
      .getByRole('button', { name: /^(New task|Create task|Output of run 1|Copy)$/ })
      .first()
      .waitFor();
    for (const fault of await accessibilityFaults(page)) faults.push([view, fault]);
    const overflow = await sidewaysOverflow(page);
    if (overflow > 0) faults.push([view, `${overflow} px too wide`]);
  }
  return faults;
}

it.each([
  ['light', {}],
  ['dark', { colorScheme: 'dark' as const }],
  ['narrow', { viewport: { width: 360, height: 700 } }],
  ['narrow and dark', { viewport: { width: 320, height: 700 }, colorScheme: 'dark' as const }],
])('is fit for everybody: %s', async (_, options) => {
  expect(await faultsOfViews(await visit(options))).toEqual([]);
});

it('is fit for everybody: texts of twice the size', async () => {
  const visited = await visit();
  await visited.page.evaluate(() => {
    document.documentElement.style.fontSize = '200%';
  });
  expect(await faultsOfViews(visited)).toEqual([]);
});

it('keeps the colours that are chosen', async () => {
  const { page } = await visit();
  const isDark = () =>
    page.evaluate(() => document.documentElement.classList.contains('pf-v6-theme-dark'));
  expect(await isDark()).toBe(false);
  await page.getByRole('button', { name: /^Colours/ }).click();
  await page.getByRole('option', { name: 'Dark' }).click();
  expect(await isDark()).toBe(true);
  await page.reload();
  await page.getByRole('heading', { level: 1 }).waitFor();
  expect(await isDark()).toBe(true);
});
