import { useEffect, useState } from 'react';
import { listTimezones } from '../api/client';

export interface Timezones {
  timezones: string[];
  /** The appliance's own, empty until it is known. */
  appliance: string;
}

export function useTimezones(): Timezones {
  const [zones, setZones] = useState<Timezones>({ timezones: [], appliance: '' });
  useEffect(() => {
    listTimezones().then(setZones, () => undefined);
  }, []);
  return zones;
}
