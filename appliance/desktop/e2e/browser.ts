// A browser whose console has to stay silent, and the checks that are made of every view.
import axe from 'axe-core';
import type { Browser, BrowserContext, Page } from 'playwright-core';
import { afterAll, afterEach, beforeAll, expect } from 'vitest';
import { Appliance } from './appliance';
import { launch } from './launch';

export interface Visit {
  page: Page;
  context: BrowserContext;
  /** Takes errors of the console that hold this part for expected ones. */
  expectErrors: (part: string) => void;
}

type Options = { signIn?: boolean } & Parameters<Browser['newContext']>[0];

export interface Scene {
  appliance: Appliance;
  /** A new window in a browser without any session; signed in unless `signIn` is false. */
  visit: (options?: Options) => Promise<Visit>;
}

/** An appliance and a browser for the tests of a file; a console error fails the test it is in. */
export function scene(configuration = ''): Scene {
  const appliance = new Appliance(configuration);
  const contexts: BrowserContext[] = [];
  let browser: Browser;
  let errors: string[] = [];
  let expected: string[] = [];

  beforeAll(async () => {
    browser = await launch();
    await appliance.start();
  });
  afterEach(async () => {
    await Promise.all(contexts.splice(0).map((context) => context.close()));
    const surprises = errors.filter((error) => !expected.some((part) => error.includes(part)));
    [errors, expected] = [[], []];
    expect(surprises).toEqual([]);
  });
  afterAll(async () => {
    await browser.close();
    await appliance.remove();
  });

  return {
    appliance,
    visit: async ({ signIn = true, ...options } = {}) => {
      const context = await browser.newContext({
        locale: 'en-US',
        timezoneId: 'UTC',
        viewport: { width: 1280, height: 900 },
        reducedMotion: 'reduce',
        ...options,
      });
      contexts.push(context);
      const page = await context.newPage();
      page.setDefaultTimeout(10_000);
      page.on('console', (message) => {
        if (['error', 'warning'].includes(message.type()))
          errors.push(`${message.text()} ${message.location().url}`);
      });
      page.on('pageerror', (error) => errors.push(String(error)));
      await page.goto(signIn ? appliance.link() : appliance.address);
      return { page, context, expectErrors: (part) => expected.push(part) };
    },
  };
}

/** What a screen reader or a keyboard would stumble over in the present view. */
export async function accessibilityFaults(page: Page): Promise<string[]> {
  await page.evaluate(axe.source);
  const { violations } = await page.evaluate(() =>
    (window as unknown as { axe: typeof axe }).axe.run(document),
  );
  return violations
    .filter(({ impact }) => impact === 'serious' || impact === 'critical')
    .flatMap(({ id, nodes }) => nodes.map((node) => `${id}: ${node.html}`));
}

/** How much is cut off at the side, in pixels. */
export const sidewaysOverflow = (page: Page): Promise<number> =>
  page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
