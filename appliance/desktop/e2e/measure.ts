// What the first load of the page weighs on the wire, and how long it takes to a list that can be
// used: of 100 tasks, in a browser that has stored nothing, from a server on this machine.
import { Appliance } from './appliance';
import { launch } from './launch';

const rounds = 7;
const median = (numbers: number[]): number =>
  [...numbers].sort((a, b) => a - b)[Math.floor(numbers.length / 2)]!;
const kilobytes = (size: number) => (size / 1000).toFixed(1).padStart(7);

const appliance = await new Appliance().start();
const browser = await launch();
try {
  for (let n = 0; n < 100; n++) appliance.script(`Task ${n}`, 'true', { enable: true });
  const times: number[] = [];
  const files = new Map<string, number>();
  for (let round = 0; round < rounds; round++) {
    const context = await browser.newContext({ locale: 'en-US' });
    const page = await context.newPage();
    await page.goto(appliance.link());
    await page.getByRole('row', { name: /Task/ }).first().waitFor();
    const cookies = await context.cookies();
    await context.close();

    const fresh = await browser.newContext({ locale: 'en-US' });
    await fresh.addCookies(cookies);
    const visit = await fresh.newPage();
    // Rows in the table: it can be used. The page's own clock says when.
    await visit.addInitScript(() => {
      new MutationObserver((_, observer) => {
        if (!document.querySelector('tbody tr')) return;
        observer.disconnect();
        requestAnimationFrame(() => performance.mark('usable'));
      }).observe(document, { childList: true, subtree: true });
    });
    await visit.goto(appliance.address);
    await visit.waitForFunction(() => performance.getEntriesByName('usable').length > 0);
    const [usable, loaded] = await visit.evaluate(() => [
      performance.getEntriesByName('usable')[0]!.startTime,
      [...performance.getEntriesByType('navigation'), ...performance.getEntriesByType('resource')]
        .map((entry) => entry as PerformanceResourceTiming)
        .map(({ name, encodedBodySize }) => [new URL(name).pathname, encodedBodySize] as const),
    ]);
    times.push(usable);
    for (const [path, size] of loaded) if (!path.startsWith('/webapi')) files.set(path, size);
    await fresh.close();
  }
  let sum = 0;
  for (const [path, size] of [...files].sort(([, a], [, b]) => b - a)) {
    process.stdout.write(`${kilobytes(size)} kB  ${path}\n`);
    sum += size;
  }
  process.stdout.write(`${kilobytes(sum)} kB  in all, as sent\n`);
  process.stdout.write(
    `${median(times).toFixed(0).padStart(7)} ms  to a usable list, median of ${rounds} ` +
      `(${Math.min(...times).toFixed(0)} to ${Math.max(...times).toFixed(0)})\n`,
  );
} finally {
  await browser.close();
  await appliance.remove();
}
