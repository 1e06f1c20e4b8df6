import { expect, it } from 'vitest';
import { password, user } from './appliance';
import { accessibilityFaults, scene } from './browser';

const { appliance, visit } = scene();

it('leads from the first visit to the first successful run', async () => {
  const { page, expectErrors } = await visit();
  await page.getByRole('heading', { name: 'Create your first task' }).waitFor();
  expect(page.url()).toBe(`${appliance.address}/`);
  expect(await accessibilityFaults(page)).toEqual([]);

  await page.getByRole('button', { name: 'Script', exact: true }).click();
  await page.getByRole('textbox', { name: 'Name', exact: true }).fill('Say hello');
  await page.getByRole('textbox', { name: 'Command or script' }).click();
  await page.keyboard.type('echo hello from $USER');
  await page.getByLabel('Owner').selectOption(user);
  await page.getByLabel('Time', { exact: true }).fill('06:15');
  await page.getByText('Every day at 6:15 AM').waitFor();
  await expect.poll(() => page.locator('.kavo-next-list li').count()).toBe(5);
  await page.getByRole('button', { name: 'Create task' }).click();

  const row = page.getByRole('row', { name: /Say hello/ });
  await row.getByText('Run: echo hello').waitFor();
  await row.getByText(/^in (\d+ (hours?|minutes?|seconds?)|.*)$/).waitFor();
  await row.getByRole('button', { name: 'Actions for Say hello' }).click();
  await page.getByRole('menuitem', { name: 'Run now' }).click();
  await row.getByRole('button', { name: /^Successful/ }).click();
  await page.getByText(`hello from ${user}`).waitFor();

  // A link works once.
  expectErrors('401');
  const link = appliance.link();
  for (const heading of ['Tasks', 'Sign in']) {
    await page.context().clearCookies();
    await page.goto('about:blank');
    await page.goto(link);
    await page.getByRole('heading', { name: heading, exact: true }).waitFor();
  }
  await page.getByText('The link is not valid any more.').waitFor();
});

it('is used by the keyboard alone', async () => {
  const { page } = await visit();
  await page.getByRole('row', { name: /Say hello/ }).waitFor();
  await page.keyboard.press('Tab');
  expect(await page.evaluate(() => document.activeElement?.textContent)).toBe('Skip to content');

  const newTask = page.getByRole('button', { name: 'New task' });
  await newTask.focus();
  await page.keyboard.press('Enter');
  await page.getByRole('menuitem', { name: /^Script/ }).waitFor();
  await page.keyboard.press('Escape');
  await expect.poll(() => newTask.evaluate((e) => e === document.activeElement)).toBe(true);
  await page.keyboard.press('Enter');
  await page.getByRole('menuitem', { name: /^Script/ }).waitFor();
  for (const key of ['ArrowDown', 'ArrowDown', 'Enter']) await page.keyboard.press(key);
  await page.locator('#task-beep').waitFor();
  await page.keyboard.type('Keys');
  await page.keyboard.press('Enter');
  await page.getByRole('row', { name: /Keys/ }).waitFor();

  const actions = page.getByRole('button', { name: 'Actions for Keys' });
  await actions.focus();
  await page.keyboard.press('Enter');
  await page.getByRole('menuitem', { name: 'Delete' }).focus();
  await page.keyboard.press('Enter');
  const question = page.getByRole('dialog', { name: /Delete this task/ });
  await question.waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
  await page.keyboard.press('Escape');
  await question.waitFor({ state: 'hidden' });
  await expect.poll(() => actions.evaluate((e) => e === document.activeElement)).toBe(true);

  // The editor lets the Tab key through.
  await page.goto(`${appliance.address}/#/tasks/1`);
  await page.getByRole('textbox', { name: 'Command or script' }).focus();
  await page.keyboard.press('Tab');
  const focused = await page.evaluate(() => document.activeElement?.className);
  expect(focused).not.toContain('kavo-code');
});

it('signs in by password, and goes on where it was when a session ends', async () => {
  const { page, context, expectErrors } = await visit({ signIn: false });
  expectErrors('401');
  const signIn = async (name: string, word: string) => {
    await page.getByRole('textbox', { name: 'Name', exact: true }).fill(name);
    await page.getByLabel('Password').fill(word);
    await page.getByRole('button', { name: 'Sign in' }).click();
  };
  await signIn(user, 'wrong');
  await page.getByText('The name or the password is wrong.').waitFor();
  expect(await accessibilityFaults(page)).toEqual([]);
  await signIn(user, password);
  await page.getByRole('button', { name: 'Say hello' }).first().click();

  await page.getByRole('textbox', { name: 'Name', exact: true }).fill('Say good-bye');
  await context.clearCookies();
  await page.getByLabel('Time', { exact: true }).fill('07:00');
  await page.getByText('Your session has ended.').waitFor();
  await page.getByLabel('Password').fill(password);
  await page.keyboard.press('Enter');
  await page.locator('#task-name:visible').waitFor();
  expect(await page.locator('#task-name').inputValue()).toBe('Say good-bye');
  await page.getByRole('button', { name: 'Save' }).click();
  await page.getByRole('button', { name: 'Say good-bye' }).first().waitFor();

  await page.getByRole('button', { name: `Account ${user}` }).click();
  await page.getByRole('menuitem', { name: 'Sign out' }).click();
  await page.getByText('You are signed out.').waitFor();
  expect((await context.cookies()).map(({ value }) => value).join('')).toBe('');
  expectErrors('429');
  for (let tries = 0; tries < 4; tries++) {
    await signIn('daemon', `wrong ${tries}`);
    await expect.poll(() => page.getByLabel('Password').inputValue()).toBe('');
  }
  await page.getByText('Too many failed attempts.').waitFor();
});
