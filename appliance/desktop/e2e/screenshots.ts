// Makes docs/screenshots from the running page.
import { mkdirSync } from 'node:fs';
import { join } from 'node:path';
import type { Page } from 'playwright-core';
import { Appliance, user } from './appliance';
import { launch } from './launch';

const folder = join(__dirname, '../../../docs/screenshots');
mkdirSync(folder, { recursive: true });
const appliance = await new Appliance().start();
const browser = await launch();

function fill(): void {
  const create = (type: string, name: string, schedule: object, extra: object) =>
    appliance.call(2, 'create', { type, name, owner: user, enable: true, schedule, extra });
  const weekdays = { week_day: '1,2,3,4,5' };
  create(
    'script',
    'Back up the photos',
    { hour: 2, minute: 30, missed: 'once', time_limit: 120 },
    {
      script:
        '#!/bin/sh\nset -e\n\n# Copy what is new to the other volume.\nfor share in Photos Music; do\n' +
        '  echo "Copying $share"\n  rsync --archive --delete "/volume1/$share/" "/volume2/$share/"\n' +
        'done\necho "Done."\n',
    },
  );
  create(
    'script',
    'Free space',
    { ...weekdays, hour: 7, repeat_min: 30, last_hour: 19, last_min: 0 },
    { script: 'df -h /' },
  );
  create('beep', 'Wake up', { ...weekdays, hour: 6, minute: 45 }, { beep_duration: 20 });
  create(
    'service',
    'No sharing at night',
    { hour: 23, minute: 30 },
    {
      action: 'stop',
      services: ['Samba', 'AFP', 'SFTP'].map((id) => ({ id, enable: true })),
    },
  );
  create(
    'recycle',
    'Empty old files',
    { type: 'date', date: '2026-01-31', repeat_date: 'monthly', hour: 4 },
    {
      clean_share_policy: { clean_all: false, shares: ['Photos'] },
      clean_file_policy: {
        policy: 'time',
        time: 30,
        reserve_policy: {
          size_greater_check: false,
          size_smaller_check: false,
          extension_check: true,
          extension: [{ file_ext: 'raw' }],
        },
      },
    },
  );
  appliance.foreignTask();
  appliance.script(
    'Check the disks',
    'for disk in 1 2 3 4; do echo "Disk $disk: no errors"; sleep 1; done',
    {
      enable: true,
      schedule: { hour: 3, week_day: '0' },
    },
  );
  appliance.kavo('run', '2', '--wait');
}

async function shoot(page: Page, view: string, name: string, height = 900): Promise<void> {
  await page.setViewportSize({ width: 1280, height });
  await page.goto(`${appliance.address}/#/${view}`);
  await page.getByRole('heading', { level: 1 }).waitFor();
  await page.waitForTimeout(1200);
  await page.evaluate(() => (document.activeElement as HTMLElement | null)?.blur());
  await page.screenshot({ path: join(folder, `${name}.png`) });
}

try {
  fill();
  const options = { locale: 'en-US', reducedMotion: 'reduce' as const };
  const page = await (await browser.newContext(options)).newPage();
  await page.goto(appliance.link());
  appliance.kavo('run', '7');
  await page.getByRole('button', { name: /^Running/ }).waitFor();
  await shoot(page, '', 'list', 760);
  await shoot(page, 'tasks/1', 'script', 1500);
  await shoot(page, 'tasks/3', 'beep', 1250);
  await shoot(page, 'tasks/4', 'service', 1480);
  await shoot(page, 'tasks/5', 'recycle', 1750);
  await shoot(page, 'tasks/6', 'other-app', 1200);
  await shoot(page, 'tasks/7/runs/2', 'run', 700);
  const dark = await (await browser.newContext({ ...options, colorScheme: 'dark' })).newPage();
  await dark.goto(appliance.link());
  await shoot(dark, '', 'list-dark', 760);
} finally {
  await browser.close();
  await appliance.remove();
}
