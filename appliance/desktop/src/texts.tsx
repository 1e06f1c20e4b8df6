// The texts and the language of the page.
import { createContext, useContext, useEffect, useState, type ReactNode } from 'react';
import { context as transport } from './api/transport';
import { directionOf, intlLanguage, makeTexts, type Strings, type Texts } from './helpers/texts';

const TextsContext = createContext<Texts>(makeTexts('en-US', {}, {}));
export const useTexts = (): Texts => useContext(TextsContext);

const fallback = 'en-US';
const loaded = new Map<string, Promise<Strings>>();

function loadStrings(language: string): Promise<Strings> {
  const known = loaded.get(language);
  if (known) return known;
  const strings = fetch(`/texts/${encodeURIComponent(language)}/strings.json`).then((answer) =>
    answer.ok ? (answer.json() as Promise<Strings>) : {},
  );
  loaded.set(language, strings);
  strings.catch(() => loaded.delete(language));
  return strings;
}

async function loadTexts(language: string): Promise<Texts> {
  const [own, english] = await Promise.all([loadStrings(language), loadStrings(fallback)]);
  return makeTexts(intlLanguage(language), own, english);
}

/** Shows its children once the texts are there; a change of language keeps the old ones till then. */
export function TextsProvider({ language, children }: { language: string; children: ReactNode }) {
  const [texts, setTexts] = useState<Texts>();
  const [attempt, setAttempt] = useState(0);
  useEffect(() => {
    let current = true;
    let again: number | undefined;
    loadTexts(language)
      .then((found) => {
        if (!current) return;
        transport.language = language;
        document.documentElement.lang = language;
        document.documentElement.dir = directionOf(language);
        document.title = found.t('title');
        setTexts(found);
      })
      .catch(() => {
        again = window.setTimeout(() => setAttempt((n) => n + 1), 2000);
      });
    return () => {
      current = false;
      window.clearTimeout(again);
    };
  }, [language, attempt]);
  return texts && <TextsContext.Provider value={texts}>{children}</TextsContext.Provider>;
}
