import type { Schedule } from '../api/types';
import type { Faults, ScheduleField } from '../helpers/schedule';
import { useTexts } from '../texts';
import { DayFields } from './day_fields';
import { PolicyFields } from './policy_fields';
import { Section } from './section';
import { TimeFields } from './time_fields';
import type { Timezones } from './use_timezones';

export interface ScheduleFieldsProps {
  schedule: Schedule;
  faults: Faults<ScheduleField>;
  onChange: (schedule: Schedule) => void;
}

export function ScheduleFields({ zones, ...props }: ScheduleFieldsProps & { zones: Timezones }) {
  const { t } = useTexts();
  return (
    <Section title={t('section_schedule')}>
      <DayFields {...props} />
      <TimeFields {...props} />
      <PolicyFields {...props} zones={zones} />
    </Section>
  );
}
