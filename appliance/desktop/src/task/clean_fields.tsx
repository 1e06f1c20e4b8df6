import { FormSelect, FormSelectOption, Radio } from '@patternfly/react-core';
import type { RecycleExtra } from '../api/types';
import { maxDays, maxMegabytes } from '../helpers/task';
import { useTexts } from '../texts';
import type { AppFieldsProps } from './extra_fields';
import { Field } from './field';
import { NumberField } from './number_field';

type Files = RecycleExtra['clean_file_policy'];

/** Which files a clean removes. */
export function CleanFields({ extra, faults, onChange }: AppFieldsProps<RecycleExtra>) {
  const { t } = useTexts();
  const files = extra.clean_file_policy;
  const change = (next: Files) => onChange({ ...extra, clean_file_policy: next });
  const policies: Record<Files['policy'], () => void> = {
    clean_all: () => change({ ...files, policy: 'clean_all' }),
    time: () => change({ ...files, policy: 'time', time: files.time ?? 30 }),
    size: () =>
      change({
        ...files,
        policy: 'size',
        size: files.size ?? 1024,
        sort_type: files.sort_type ?? 1,
      }),
  };
  return (
    <Field id="clean-policy" label={t('clean_policy')} group="radiogroup">
      {(['clean_all', 'time', 'size'] as const).map((policy) => (
        <Radio
          key={policy}
          id={`clean-${policy}`}
          name="clean-policy"
          label={t(`clean_${policy}`)}
          isChecked={files.policy === policy}
          onChange={policies[policy]}
        />
      ))}
      {files.policy === 'time' && (
        <NumberField
          id="clean-time-days"
          label={t('clean_time_days')}
          unit={t('unit_days')}
          value={files.time}
          max={maxDays}
          fault={faults.time}
          onChange={(time) => change({ ...files, time })}
        />
      )}
      {files.policy === 'size' && (
        <div className="kavo-buttons">
          <NumberField
            id="clean-size-mb"
            label={t('clean_size_mb')}
            unit={t('unit_mb')}
            value={files.size}
            max={maxMegabytes}
            fault={faults.size}
            onChange={(size) => change({ ...files, size })}
          />
          <FormSelect
            className="kavo-select"
            aria-label={t('clean_size_order')}
            value={String(files.sort_type ?? 1)}
            onChange={(_, value) => change({ ...files, sort_type: value === '0' ? 0 : 1 })}
          >
            <FormSelectOption value="1" label={t('clean_old_first')} />
            <FormSelectOption value="0" label={t('clean_large_first')} />
          </FormSelect>
        </div>
      )}
    </Field>
  );
}
