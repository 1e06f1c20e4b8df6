import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { describe, expect, it } from 'vitest';
import { intlLanguage, makeTexts, type Strings } from '../src/helpers/texts';

const english = JSON.parse(
  readFileSync(join(__dirname, '../../texts/en-US/strings.json'), 'utf8'),
) as Strings;

const sources = (folder: string): string[] =>
  readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) return sources(path);
    return /\.tsx?$/.test(path) && entry.name !== 'schema.ts' ? [readFileSync(path, 'utf8')] : [];
  });

describe('texts', () => {
  const source = sources(join(__dirname, '../src')).join('\n');
  const keys = Object.keys(english['desktop'] ?? {});

  it('has every key that the page names', () => {
    const named = [...source.matchAll(/\bt\(\s*'([a-z_]+)'/g)].map((match) => match[1]!);
    const counted = [...source.matchAll(/\bcount\(\s*'([a-z_]+)'/g)].map((m) => `${m[1]}_other`);
    const kept = [...source.matchAll(/'((?:fault|refused)_[a-z_]+)'/g)].map((m) => m[1]!);
    expect([...named, ...counted, ...kept].filter((key) => !keys.includes(key))).toEqual([]);
    expect(named.length).toBeGreaterThan(100);
  });

  it('names every key that it has', () => {
    const parts = [...source.matchAll(/`([a-z_]*)\$\{[^}]+\}([a-z_]*)`/g)]
      .filter(([, head, tail]) => head || tail)
      .map(([, head, tail]) => new RegExp(`^${head}[a-z_]+${tail}$`));
    const isNamed = (key: string) =>
      source.includes(`'${key}'`) ||
      source.includes(`'${key.replace(/_(one|other)$/, '')}'`) ||
      parts.some((part) => part.test(key));
    expect(keys.filter((key) => !isNamed(key))).toEqual([]);
  });

  it('falls back to English, and to the key, and fills in what is given', () => {
    const own = { desktop: { a: '{name}: {count} {other}', b: '' }, beep: { c: 'Pieps' } };
    const { t } = makeTexts('de', own, { desktop: { b: 'B', d: '$& {name}' } });
    expect(t('a', { name: '{count}', count: 3 })).toBe('{count}: 3 {other}');
    expect([t('b'), t('beep:c'), t('e')]).toEqual(['B', 'Pieps', 'e']);
    expect(t('d', { name: '<b>$1' })).toBe('$& <b>$1');
  });

  it('counts by the rules of the language', () => {
    const forms = { n_one: 'one {count}', n_few: 'few {count}', n_other: 'other {count}' };
    const polish = makeTexts('pl', { desktop: forms }, {});
    expect([1, 3, 5].map((n) => polish.count('n', n))).toEqual(['one 1', 'few 3', 'other 5']);
    const plain = makeTexts('pl', { desktop: { n_other: 'other {count}' } }, {});
    expect(plain.count('n', 3)).toBe('other 3');
  });

  it('takes a folder of any name for a language', () => {
    expect(intlLanguage('de-DE')).toBe('de-DE');
    expect(['x', 'not a language', '', 'xx-YY'].map(intlLanguage)).toEqual(Array(4).fill('en-US'));
  });
});
