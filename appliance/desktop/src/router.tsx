// The present route, and what stands in the way of leaving it.
import {
  createContext,
  useCallback,
  useContext,
  useEffect,
  useMemo,
  useRef,
  useState,
  type ReactNode,
} from 'react';
import { parseRoute, routeAddress, type Route } from './helpers/route';
import { Question } from './question';
import { useTexts } from './texts';

interface Router {
  route: Route;
  /** Goes there; `force` without asking whether what was typed may be lost. */
  go: (route: Route, force?: boolean) => void;
  /** Whether leaving the present view loses something. */
  setGuard: (guarded: boolean) => void;
}

const RouterContext = createContext<Router | undefined>(undefined);

export function useRouter(): Router {
  const router = useContext(RouterContext);
  if (!router) throw new Error('useRouter outside of RouterProvider');
  return router;
}

/** Asks before leaving while `guarded`: within the page, and by closing it. */
export function useLeaveGuard(guarded: boolean): void {
  const { setGuard } = useRouter();
  useEffect(() => {
    setGuard(guarded);
    if (!guarded) return undefined;
    const ask = (event: BeforeUnloadEvent) => event.preventDefault();
    window.addEventListener('beforeunload', ask);
    return () => {
      setGuard(false);
      window.removeEventListener('beforeunload', ask);
    };
  }, [guarded, setGuard]);
}

export function RouterProvider({ children }: { children: ReactNode }) {
  const { t } = useTexts();
  const [hash, setHash] = useState(window.location.hash);
  const [wanted, setWanted] = useState<string>();
  const shown = useRef(hash);
  const guard = useRef(false);

  const show = useCallback((next: string) => {
    shown.current = next;
    guard.current = false;
    if (window.location.hash !== next) window.location.hash = next;
    setWanted(undefined);
    setHash(next);
    window.scrollTo(0, 0);
  }, []);

  useEffect(() => {
    const changed = () => {
      const next = window.location.hash;
      if (next === shown.current) return;
      if (!guard.current) {
        show(next);
        return;
      }
      // The address goes back until the question is answered.
      window.history.pushState(null, '', shown.current || '#/');
      setWanted(next);
    };
    window.addEventListener('hashchange', changed);
    return () => window.removeEventListener('hashchange', changed);
  }, [show]);

  const go = useCallback(
    (next: Route, force = false) => {
      const address = routeAddress(next);
      if (guard.current && !force) setWanted(address);
      else show(address);
    },
    [show],
  );
  const setGuard = useCallback((guarded: boolean) => {
    guard.current = guarded;
  }, []);
  const router = useMemo(() => ({ route: parseRoute(hash), go, setGuard }), [hash, go, setGuard]);
  return (
    <RouterContext.Provider value={router}>
      {children}
      <Question
        isOpen={wanted !== undefined}
        title={t('discard_title')}
        confirm={t('discard_confirm')}
        cancel={t('discard_stay')}
        danger
        onConfirm={() => show(wanted ?? '#/')}
        onCancel={() => setWanted(undefined)}
      >
        {t('discard_text')}
      </Question>
    </RouterContext.Provider>
  );
}
