import { useEffect, useState } from 'react';
import { listShares } from '../api/client';
import type { Share } from '../api/types';

/** The appliance's shares; undefined until they are known. */
export function useShares(): Share[] | undefined {
  const [shares, setShares] = useState<Share[]>();
  useEffect(() => {
    listShares().then(
      (answer) => setShares(answer.shares),
      () => undefined,
    );
  }, []);
  return shares;
}
