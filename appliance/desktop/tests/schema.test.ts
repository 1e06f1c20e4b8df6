import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { expect, it } from 'vitest';

it('keeps the types that the API is described by', { timeout: 60_000 }, () => {
  const described = execFileSync('npm', ['run', '--silent', 'schema'], {
    cwd: join(__dirname, '..'),
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'ignore'],
  });
  const kept = readFileSync(join(__dirname, '../src/api/schema.ts'), 'utf8');
  expect(described === kept, 'to be made anew: npm run schema >src/api/schema.ts').toBe(true);
});
