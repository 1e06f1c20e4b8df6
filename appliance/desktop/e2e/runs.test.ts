import { expect, it } from 'vitest';
import { accessibilityFaults, scene } from './browser';

const { appliance, visit } = scene();
const tenSeconds = 'for i in 1 2 3 4 5 6 7 8 9 10; do echo "line $i"; sleep 1; done';

it('follows a script that prints for ten seconds, and stops one', async () => {
  const id = appliance.script('Ten', tenSeconds);
  const { page } = await visit();
  await page.goto(`${appliance.address}/#/tasks/${id}/runs`);
  await page.getByRole('heading', { name: 'No runs' }).waitFor();
  await page.getByRole('button', { name: 'Run now' }).click();
  await page.getByRole('button', { name: 'Output of run 1' }).click();
  await page.getByText('line 2', { exact: false }).waitFor();
  expect(await page.getByText('Running').count()).toBe(1);
  expect(await page.locator('.kavo-output').innerText()).not.toContain('line 9');
  expect(await accessibilityFaults(page)).toEqual([]);
  await page.getByText('Successful').waitFor({ timeout: 15_000 });
  expect((await page.locator('.kavo-output').innerText()).trim().split('\n')).toHaveLength(10);

  appliance.kavo('run', String(id));
  await page.goto(`${appliance.address}/#/tasks/${id}/runs`);
  await page.getByRole('button', { name: 'Stop run 2' }).click();
  await page.getByRole('row', { name: /Stopped/ }).waitFor();
  await page.getByLabel('Show runs by result').selectOption({ label: 'Stopped' });
  await expect.poll(() => page.getByRole('row').count()).toBe(2);
  await page.getByLabel('Show runs by result').selectOption({ label: 'Missed' });
  await page.getByText('No run had this result.').waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
});

it('shows large outputs with what was cut, and bytes that are no text', async () => {
  const id = appliance.script(
    'Large',
    "printf '\\377\\n'; yes '<b>x</b>' | head -c 2000000; exit 3",
  );
  appliance.kavo('run', String(id));
  const { page } = await visit();
  await page.getByRole('button', { name: /^Failed with code 3/ }).click();
  await page.getByText(/more were not kept/).waitFor();
  const text = await page.locator('.kavo-output').innerText();
  expect([text.length > 1_000_000, text.slice(0, 9)]).toEqual([true, '\uFFFD\n<b>x</b']);
});

it('says that the server is away, and comes back by itself', async () => {
  const { page, expectErrors } = await visit();
  await page.getByRole('row', { name: /Ten/ }).waitFor();
  expectErrors('ERR_');
  await appliance.stopServer();
  await page.getByText('The server does not answer.').waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
  appliance.script('Made meanwhile', 'true');
  await appliance.startServer();
  await page.getByRole('row', { name: /Made meanwhile/ }).waitFor({ timeout: 15_000 });
  await page.getByText('The server does not answer.').waitFor({ state: 'hidden' });
});
