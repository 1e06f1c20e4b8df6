import react from '@vitejs/plugin-react';
import { defineConfig } from 'vitest/config';

export default defineConfig({
  plugins: [react()],
  build: {
    outDir: process.env['KAVO_DESKTOP_OUT'] ?? 'dist',
    emptyOutDir: true,
    // Everything is a file of its own: the content security policy forbids data: addresses for
    // fonts, and a script inside the page.
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    chunkSizeWarningLimit: 1500,
  },
  test: { include: ['tests/**/*.test.ts'] },
});
