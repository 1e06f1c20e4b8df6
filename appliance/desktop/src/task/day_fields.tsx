// On which days a task runs.
import {
  Button,
  FormSelect,
  FormSelectOption,
  Radio,
  TextInput,
  ToggleGroup,
  ToggleGroupItem,
} from '@patternfly/react-core';
import { weekdayName, weekOrder } from '../helpers/format';
import { printWeekdays, repeats, weekdaysOf } from '../helpers/schedule';
import { useTexts } from '../texts';
import { described, Field } from './field';
import type { ScheduleFieldsProps } from './schedule_fields';

const presets = { every_day: [0, 1, 2, 3, 4, 5, 6], weekdays: [1, 2, 3, 4, 5], weekend: [0, 6] };

function WeekdayChips({ schedule, faults, onChange }: ScheduleFieldsProps) {
  const { t, language } = useTexts();
  const days = weekdaysOf(schedule);
  const set = (next: number[]) => onChange({ ...schedule, week_day: printWeekdays(next) });
  const toggle = (day: number) =>
    set(days.includes(day) ? days.filter((each) => each !== day) : [...days, day]);
  return (
    <Field id="week-days" label={t('week_days')} group="group" fault={faults.week_day}>
      <ToggleGroup aria-label={t('week_days')} className="kavo-chips">
        {weekOrder(language).map((day) => (
          <ToggleGroupItem
            key={day}
            text={weekdayName(day, language, 'short')}
            isSelected={days.includes(day)}
            onChange={() => toggle(day)}
          />
        ))}
      </ToggleGroup>
      <div className="kavo-buttons">
        {Object.entries(presets).map(([name, preset]) => (
          <Button key={name} variant="link" size="sm" isInline onClick={() => set(preset)}>
            {t(`preset_${name}`)}
          </Button>
        ))}
      </div>
    </Field>
  );
}

function DateFields({ schedule, faults, onChange }: ScheduleFieldsProps) {
  const { t } = useTexts();
  return (
    <div className="kavo-columns">
      <Field id="task-date" label={t('date_first')} fault={faults.date}>
        <TextInput
          id="task-date"
          type="date"
          min="1970-01-01"
          max="9999-12-31"
          value={schedule.date}
          {...described('task-date', faults.date)}
          onChange={(_, date) => onChange({ ...schedule, date })}
        />
      </Field>
      <Field id="task-repeat" label={t('date_repeat')}>
        <FormSelect
          id="task-repeat"
          value={schedule.repeat_date}
          onChange={(_, value) =>
            onChange({
              ...schedule,
              repeat_date: repeats.find((repeat) => repeat === value) ?? 'never',
            })
          }
        >
          {repeats.map((repeat) => (
            <FormSelectOption key={repeat} value={repeat} label={t(`repeat_${repeat}`)} />
          ))}
        </FormSelect>
      </Field>
    </div>
  );
}

export function DayFields(props: ScheduleFieldsProps) {
  const { t } = useTexts();
  const { schedule, onChange } = props;
  return (
    <>
      <Field id="day-type" label={t('day_type')} group="radiogroup">
        {(['weekly', 'date'] as const).map((type) => (
          <Radio
            key={type}
            id={`day-type-${type}`}
            name="day-type"
            label={t(`day_type_${type}`)}
            isChecked={schedule.type === type}
            onChange={() => onChange({ ...schedule, type })}
          />
        ))}
      </Field>
      {schedule.type === 'weekly' ? <WeekdayChips {...props} /> : <DateFields {...props} />}
    </>
  );
}
