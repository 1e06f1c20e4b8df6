// Who is signed in. The page stays as it is when a session ends: what was typed is still there after
// signing in again.
import {
  createContext,
  useCallback,
  useContext,
  useEffect,
  useMemo,
  useState,
  type ReactNode,
} from 'react';
import * as api from './api/client';
import { context as transport } from './api/transport';
import type { Session } from './api/types';
import { useIdleEnd } from './idle';

export type EndReason = 'none' | 'ended' | 'signed-out' | 'idle' | 'bad-link';

interface SessionState {
  session: Session;
  signedIn: boolean;
  /** Why nobody is signed in. */
  reason: EndReason;
  signIn: (user: string, password: string) => Promise<void>;
  signOut: () => void;
}

const SessionContext = createContext<SessionState | undefined>(undefined);

export function useSession(): SessionState {
  const state = useContext(SessionContext);
  if (!state) throw new Error('useSession outside of SessionProvider');
  return state;
}

const pause = (milliseconds: number) =>
  new Promise((resolve) => window.setTimeout(resolve, milliseconds));

// The first thing that the page asks; until the server is there, again and again.
async function firstSession(link: string | undefined): Promise<[Session, EndReason]> {
  for (;;) {
    try {
      if (link !== undefined) {
        const signedIn = await api.signIn({ link }).catch(() => undefined);
        if (signedIn) return [signedIn, 'none'];
      }
      const session = await api.getSession();
      return [session, link !== undefined && session.user === null ? 'bad-link' : 'none'];
    } catch {
      await pause(1000);
    }
  }
}

export function SessionProvider({ link, children }: { link?: string; children: ReactNode }) {
  const [session, setSession] = useState<Session>();
  const [reason, setReason] = useState<EndReason>('none');

  const take = useCallback((next: Session, why: EndReason) => {
    transport.token = next.token;
    setSession(next);
    setReason(why);
  }, []);

  const end = useCallback((why: EndReason) => {
    transport.token = null;
    setSession((now) => now && { ...now, token: null });
    setReason((now) => (now === 'none' ? why : now));
  }, []);

  useEffect(() => {
    transport.onSignedOut = () => end('ended');
    let current = true;
    void firstSession(link).then(([first, why]) => current && take(first, why));
    return () => {
      current = false;
    };
  }, [link, take, end]);

  const leave = useCallback(
    (why: EndReason) => {
      void api.signOut().catch(() => undefined);
      end(why);
    },
    [end],
  );
  const idle = useCallback(() => leave('idle'), [leave]);
  useIdleEnd(session?.token ? session.idle_minutes : 0, idle);

  const state = useMemo<SessionState | undefined>(
    () =>
      session && {
        session,
        signedIn: session.token !== null,
        reason,
        signIn: async (user, password) => take(await api.signIn({ user, password }), 'none'),
        signOut: () => leave('signed-out'),
      },
    [session, reason, take, leave],
  );
  return state && <SessionContext.Provider value={state}>{children}</SessionContext.Provider>;
}
