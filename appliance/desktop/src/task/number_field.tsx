import { InputGroup, InputGroupItem, InputGroupText, TextInput } from '@patternfly/react-core';
import { wholeNumber } from '../helpers/task';
import { useTexts } from '../texts';
import { described } from './field';

interface NumberFieldProps {
  id: string;
  label: string;
  unit: string;
  value: number | undefined;
  max: number;
  fault?: string | undefined;
  /** undefined for a text that is no number. */
  onChange: (value: number | undefined) => void;
}

/** A number with its unit, in the middle of a sentence or of a group; what is wrong stands below. */
export function NumberField({ id, label, unit, value, max, fault, onChange }: NumberFieldProps) {
  const { t } = useTexts();
  const change = (text: string) => {
    const number = wholeNumber(text);
    onChange(Number.isNaN(number) ? undefined : number);
  };
  return (
    <div className="kavo-number">
      <InputGroup>
        <InputGroupItem>
          <TextInput
            id={id}
            type="number"
            aria-label={label}
            min={0}
            max={max}
            value={value ?? ''}
            {...described(id, fault)}
            onChange={(_, text) => change(text)}
          />
        </InputGroupItem>
        <InputGroupText>{unit}</InputGroupText>
      </InputGroup>
      <small id={`${id}-help`} className="kavo-fault" aria-live="polite">
        {fault && t(fault, { max })}
      </small>
    </div>
  );
}
