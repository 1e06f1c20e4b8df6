// Light or dark: as the system has it, or as it was chosen here.
export const themes = ['system', 'light', 'dark'] as const;
export type Theme = (typeof themes)[number];

const key = 'kavo-theme';
const systemDark = window.matchMedia('(prefers-color-scheme: dark)');

export const storedTheme = (): Theme =>
  themes.find((theme) => theme === localStorage.getItem(key)) ?? 'system';

function apply(): void {
  const theme = storedTheme();
  const dark = theme === 'dark' || (theme === 'system' && systemDark.matches);
  document.documentElement.classList.toggle('pf-v6-theme-dark', dark);
}

export function setTheme(theme: Theme): void {
  localStorage.setItem(key, theme);
  apply();
}

export function startTheme(): void {
  apply();
  systemDark.addEventListener('change', apply);
}
