import { Slider, TextInput } from '@patternfly/react-core';
import type { BeepExtra } from '../api/types';
import { maxBeep, wholeNumber } from '../helpers/task';
import { useTexts } from '../texts';
import type { AppFieldsProps } from './extra_fields';
import { described, Field } from './field';
import { Section } from './section';

const clamp = (seconds: number): number =>
  Math.min(maxBeep, Math.max(1, Number.isNaN(seconds) ? 1 : seconds));

export function BeepFields({ extra, faults, onChange }: AppFieldsProps<BeepExtra>) {
  const { t } = useTexts();
  const seconds = Number(extra.beep_duration ?? 0);
  // A text that is no number stays in sight, and is a fault; it is never sent.
  const type = (text: string) => {
    const number = wholeNumber(text);
    onChange({ ...extra, beep_duration: Number.isNaN(number) ? text : number });
  };
  const isClamped = Number.isInteger(seconds) && seconds !== clamp(seconds);
  return (
    <Section title={t('section_beep')}>
      <Field
        id="task-beep"
        label={t('beep_duration')}
        fault={faults.beep}
        hint={isClamped ? t('beep_clamped', { seconds: clamp(seconds) }) : t('beep_hint')}
      >
        <div className="kavo-beep">
          <Slider
            min={1}
            max={maxBeep}
            value={clamp(seconds)}
            thumbAriaLabel={t('beep_duration')}
            onChange={(_, value) => onChange({ ...extra, beep_duration: Math.round(value) })}
            showTicks={false}
          />
          <TextInput
            id="task-beep"
            type="number"
            min={1}
            max={maxBeep}
            value={String(extra.beep_duration ?? '')}
            {...described('task-beep', faults.beep)}
            onChange={(_, text) => type(text)}
          />
        </div>
      </Field>
    </Section>
  );
}
