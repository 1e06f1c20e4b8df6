import { defineConfig } from 'vitest/config';

// The browser tests: one file after the other, since two cores are few for several browsers.
export default defineConfig({
  test: {
    include: ['e2e/**/*.test.ts'],
    fileParallelism: false,
    testTimeout: 60_000,
    hookTimeout: 60_000,
    expect: { poll: { timeout: 10_000 } },
  },
});
