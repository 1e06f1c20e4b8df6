// Asking the server for news while the page can be seen and somebody is signed in.
import { useEffect, useRef, useState } from 'react';
import { serverNow } from './api/transport';
import { useSession } from './session';

const everyMs = 1000;
const slowestMs = 8000;

/**
 * Calls `ask` at once and then each second; after failures more slowly. A change of `key` asks anew
 * at once. `active` false: does not ask.
 */
export function useLive(ask: () => Promise<void>, key: string, active = true): void {
  const { signedIn } = useSession();
  const latest = useRef(ask);
  latest.current = ask;
  const on = active && signedIn;
  useEffect(() => {
    if (!on) return undefined;
    let stopped = false;
    let timer: number | undefined;
    let wait = everyMs;
    let asking = false;
    const round = async () => {
      window.clearTimeout(timer);
      if (stopped || asking || document.hidden) return;
      asking = true;
      try {
        await latest.current();
        wait = everyMs;
      } catch {
        wait = Math.min(wait * 2, slowestMs);
      }
      asking = false;
      if (!stopped) timer = window.setTimeout(() => void round(), wait);
    };
    const seen = () => void round();
    document.addEventListener('visibilitychange', seen);
    void round();
    return () => {
      stopped = true;
      window.clearTimeout(timer);
      document.removeEventListener('visibilitychange', seen);
    };
  }, [on, key]);
}

/** The server's present moment in whole seconds, renewed each second. */
export function useNow(): number {
  const [now, setNow] = useState(() => Math.floor(serverNow() / 1000));
  useEffect(() => {
    const timer = window.setInterval(() => setNow(Math.floor(serverNow() / 1000)), 1000);
    return () => window.clearInterval(timer);
  }, []);
  return now;
}
