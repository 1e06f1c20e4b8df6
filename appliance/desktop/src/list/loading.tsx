import { Skeleton } from '@patternfly/react-core';
import { useTexts } from '../texts';

/** Stands for a table until its rows are there. */
export function LoadingRows() {
  const { t } = useTexts();
  return (
    <div className="kavo-stack">
      {[0, 1, 2, 3].map((row) => (
        <Skeleton key={row} height="2.5rem" screenreaderText={row === 0 ? t('loading') : ''} />
      ))}
    </div>
  );
}
