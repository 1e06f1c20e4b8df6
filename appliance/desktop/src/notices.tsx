// What was done, or not, said in a corner of the page and to screen readers.
import { Alert, AlertActionCloseButton, AlertGroup } from '@patternfly/react-core';
import {
  createContext,
  useCallback,
  useContext,
  useMemo,
  useRef,
  useState,
  type ReactNode,
} from 'react';
import { useTexts } from './texts';

type Variant = 'success' | 'danger' | 'info';
interface Notice {
  id: number;
  variant: Variant;
  title: string;
  detail?: string;
}
type Notify = (variant: Variant, title: string, detail?: string) => void;

const NoticesContext = createContext<Notify>(() => undefined);
export const useNotify = (): Notify => useContext(NoticesContext);

const shownFor = 6000;

export function NoticesProvider({ children }: { children: ReactNode }) {
  const { t } = useTexts();
  const [notices, setNotices] = useState<Notice[]>([]);
  const nextId = useRef(0);
  const notify = useCallback<Notify>((variant, title, detail) => {
    const notice = { id: nextId.current++, variant, title, ...(detail ? { detail } : {}) };
    setNotices((now) => [...now.slice(-4), notice]);
  }, []);
  const remove = (id: number) => setNotices((now) => now.filter((notice) => notice.id !== id));
  const group = useMemo(() => notices, [notices]);
  return (
    <NoticesContext.Provider value={notify}>
      {children}
      <AlertGroup isToast isLiveRegion aria-label={t('notices')}>
        {group.map(({ id, variant, title, detail }) => (
          <Alert
            key={id}
            variant={variant}
            title={title}
            variantLabel={t(`notice_${variant}`)}
            // What failed stays until it is read.
            timeout={variant === 'danger' ? false : shownFor}
            onTimeout={() => remove(id)}
            actionClose={
              <AlertActionCloseButton aria-label={t('close')} onClose={() => remove(id)} />
            }
          >
            {detail}
          </Alert>
        ))}
      </AlertGroup>
    </NoticesContext.Provider>
  );
}
