import { chromium, type Browser } from 'playwright-core';

const executablePath = process.env['CHROMIUM'] ?? '/usr/bin/chromium';

export const launch = (): Promise<Browser> =>
  chromium.launch({ executablePath, args: process.getuid?.() === 0 ? ['--no-sandbox'] : [] });
