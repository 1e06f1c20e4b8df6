// The page's texts: what the strings file of the language says, else what the English one says.
export type Strings = Record<string, Record<string, string>>;
export type Values = Record<string, string | number>;

export interface Texts {
  language: string;
  /** The text of "section:key", or of a key of the page's own section, with {name} filled in. */
  t: (key: string, values?: Values) => string;
  /** The same in the form that the number asks for; {count} is the number. */
  count: (key: string, count: number, values?: Values) => string;
}

const pageSection = 'desktop';

function lookUp(strings: Strings, key: string): string | undefined {
  const colon = key.indexOf(':');
  const section = colon < 0 ? pageSection : key.slice(0, colon);
  const text = strings[section]?.[key.slice(colon + 1)];
  return typeof text === 'string' && text !== '' ? text : undefined;
}

const fill = (text: string, values: Values): string =>
  text.replace(/\{(\w+)\}/g, (whole, name: string) => String(values[name] ?? whole));

export function makeTexts(language: string, own: Strings, english: Strings): Texts {
  const find = (key: string) => lookUp(own, key) ?? lookUp(english, key);
  const t = (key: string, values: Values = {}) => fill(find(key) ?? key, values);
  const rules = new Intl.PluralRules(language);
  const numbers = new Intl.NumberFormat(language);
  const count = (key: string, n: number, values: Values = {}) => {
    const form = `${key}_${rules.select(n)}`;
    return t(find(form) === undefined ? `${key}_other` : form, {
      count: numbers.format(n),
      ...values,
    });
  };
  return { language, t, count };
}

/** A language that Intl can work with: a folder may have any name. */
export function intlLanguage(id: string): string {
  try {
    return Intl.DateTimeFormat.supportedLocalesOf(id)[0] ?? 'en-US';
  } catch {
    return 'en-US';
  }
}

const rightToLeft = new Set(['ar', 'dv', 'fa', 'he', 'ku', 'ps', 'sd', 'ug', 'ur', 'yi']);
export const directionOf = (language: string): 'rtl' | 'ltr' =>
  rightToLeft.has(language.split('-')[0]?.toLowerCase() ?? '') ? 'rtl' : 'ltr';
