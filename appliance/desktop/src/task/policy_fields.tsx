// The rest of a schedule: its time zone, missed runs, and the limit of a run.
import { Radio, TextInput } from '@patternfly/react-core';
import { maxTimeLimit } from '../helpers/schedule';
import { useTexts } from '../texts';
import { described, Field } from './field';
import { NumberField } from './number_field';
import type { ScheduleFieldsProps } from './schedule_fields';
import type { Timezones } from './use_timezones';

export function PolicyFields(props: ScheduleFieldsProps & { zones: Timezones }) {
  const { t } = useTexts();
  const { schedule, faults, zones, onChange } = props;
  return (
    <>
      <div className="kavo-columns">
        <Field
          id="task-zone"
          label={t('timezone')}
          fault={faults.timezone}
          hint={t('timezone_hint')}
        >
          <TextInput
            id="task-zone"
            list="timezones"
            autoComplete="off"
            placeholder={zones.appliance}
            value={schedule.timezone}
            {...described('task-zone', faults.timezone)}
            onChange={(_, timezone) => onChange({ ...schedule, timezone: timezone.trim() })}
          />
          <datalist id="timezones">
            {zones.timezones.map((zone) => (
              <option key={zone} value={zone} />
            ))}
          </datalist>
        </Field>
        <Field
          id="task-limit-field"
          label={t('time_limit')}
          group="group"
          hint={t('time_limit_hint')}
        >
          <NumberField
            id="task-limit"
            label={t('time_limit')}
            unit={t('unit_minutes')}
            value={Number(schedule.time_limit)}
            max={maxTimeLimit}
            fault={faults.limit}
            onChange={(limit) => onChange({ ...schedule, time_limit: limit ?? 0 })}
          />
        </Field>
      </div>
      <Field id="task-missed" label={t('missed')} group="radiogroup">
        {(['skip', 'once'] as const).map((missed) => (
          <Radio
            key={missed}
            id={`missed-${missed}`}
            name="missed"
            label={t(`missed_${missed}`)}
            isChecked={schedule.missed === missed}
            onChange={() => onChange({ ...schedule, missed })}
          />
        ))}
      </Field>
    </>
  );
}
