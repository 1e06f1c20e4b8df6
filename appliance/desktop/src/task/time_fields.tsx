// At which times of a run day a task runs.
import { FormSelect, FormSelectOption, TextInput } from '@patternfly/react-core';
import { useState } from 'react';
import {
  intervalOf,
  intervalWords,
  offeredIntervals,
  parseTime,
  printTime,
} from '../helpers/schedule';
import { useTexts } from '../texts';
import { described, Field } from './field';
import { NumberField } from './number_field';
import type { ScheduleFieldsProps } from './schedule_fields';

const custom = 'custom';

const capitalised = (text: string): string => text.charAt(0).toUpperCase() + text.slice(1);

function IntervalField({ schedule, faults, onChange }: ScheduleFieldsProps) {
  const texts = useTexts();
  const { t } = texts;
  const [isCustom, setCustom] = useState(false);
  const interval = intervalOf(schedule);
  const set = (minutes: number) =>
    onChange({ ...schedule, repeat_hour: Math.floor(minutes / 60), repeat_min: minutes % 60 });
  const choose = (value: string) => {
    setCustom(value === custom);
    if (value !== custom) set(Number(value));
  };
  return (
    <Field id="task-interval" label={t('interval')} fault={faults.interval}>
      <FormSelect
        id="task-interval"
        value={isCustom ? custom : String(interval)}
        {...described('task-interval', faults.interval)}
        onChange={(_, value) => choose(value)}
      >
        <FormSelectOption value="0" label={t('interval_none')} />
        {offeredIntervals(schedule).map((minutes) => (
          <FormSelectOption
            key={minutes}
            value={String(minutes)}
            label={capitalised(intervalWords(minutes, texts))}
          />
        ))}
        <FormSelectOption value={custom} label={t('interval_custom')} />
      </FormSelect>
      {isCustom && (
        <div className="kavo-buttons">
          <NumberField
            id="interval-hours"
            label={t('interval_hours')}
            unit={t('unit_hours')}
            value={Number(schedule.repeat_hour)}
            max={23}
            onChange={(hours) => onChange({ ...schedule, repeat_hour: hours ?? 0 })}
          />
          <NumberField
            id="interval-minutes"
            label={t('interval_minutes')}
            unit={t('unit_minutes')}
            value={Number(schedule.repeat_min)}
            max={59}
            onChange={(minutes) => onChange({ ...schedule, repeat_min: minutes ?? 0 })}
          />
        </div>
      )}
    </Field>
  );
}

// A time field that is emptied keeps its last time, as the browser's field then shows no other.
function TimeField(props: {
  id: string;
  label: string;
  hour: number;
  minute: number;
  fault?: string | undefined;
  onChange: (hour: number, minute: number) => void;
}) {
  const { id, label, hour, minute, fault, onChange } = props;
  return (
    <Field id={id} label={label} fault={fault}>
      <TextInput
        id={id}
        type="time"
        value={printTime(Number(hour), Number(minute))}
        {...described(id, fault)}
        onChange={(_, text) => {
          const time = parseTime(text);
          if (time) onChange(time.hour, time.minute);
        }}
      />
    </Field>
  );
}

export function TimeFields(props: ScheduleFieldsProps) {
  const { t } = useTexts();
  const { schedule, faults, onChange } = props;
  const interval = intervalOf(schedule);
  return (
    <div className="kavo-columns">
      <TimeField
        id="task-time"
        label={t(interval > 0 ? 'time_first' : 'time')}
        hour={schedule.hour}
        minute={schedule.minute}
        fault={faults.time}
        onChange={(hour, minute) => onChange({ ...schedule, hour, minute })}
      />
      <IntervalField {...props} />
      {interval > 0 && (
        <TimeField
          id="task-last"
          label={t('time_last')}
          hour={schedule.last_hour}
          minute={schedule.last_min}
          fault={faults.last}
          onChange={(last_hour, last_min) => onChange({ ...schedule, last_hour, last_min })}
        />
      )}
    </div>
  );
}
