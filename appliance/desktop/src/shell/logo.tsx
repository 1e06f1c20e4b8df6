import { useTexts } from '../texts';

export function Logo() {
  const { t } = useTexts();
  return (
    <span className="kavo-logo">
      <img src="/icon.svg" alt="" width="28" height="28" />
      <span>{t('title')}</span>
    </span>
  );
}
