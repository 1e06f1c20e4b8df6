// The page asks the server for news each second, which would keep a forgotten session alive. So the
// page itself ends it when nobody has touched it for long.
import { useEffect } from 'react';

const touches = ['pointerdown', 'keydown', 'wheel', 'focus'] as const;

/** Calls `end` after that many minutes without a touch; 0 minutes: never. */
export function useIdleEnd(minutes: number, end: () => void): void {
  useEffect(() => {
    if (minutes <= 0) return undefined;
    let touched = Date.now();
    const note = () => {
      touched = Date.now();
    };
    const timer = window.setInterval(() => {
      if (Date.now() - touched >= minutes * 60_000) end();
    }, 5000);
    for (const touch of touches) window.addEventListener(touch, note, { passive: true });
    return () => {
      window.clearInterval(timer);
      for (const touch of touches) window.removeEventListener(touch, note);
    };
  }, [minutes, end]);
}
