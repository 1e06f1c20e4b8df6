import { Checkbox, TextInput } from '@patternfly/react-core';
import { useState } from 'react';
import type { RecycleExtra, ReservePolicy } from '../api/types';
import { maxMegabytes } from '../helpers/task';
import { useTexts } from '../texts';
import type { AppFieldsProps } from './extra_fields';
import { described, Field } from './field';
import { NumberField } from './number_field';

const parseExtensions = (text: string): { file_ext: string }[] =>
  text
    .split(/[\s,;]+/)
    .map((word) => word.replace(/^\*?\./, ''))
    .filter(Boolean)
    .map((file_ext) => ({ file_ext }));

const printExtensions = (keep: ReservePolicy): string =>
  (keep.extension ?? []).map(({ file_ext: ext }) => ext).join(', ');

/** Which files stay, whatever the policy says. */
export function KeepFields({ extra, faults, onChange }: AppFieldsProps<RecycleExtra>) {
  const { t } = useTexts();
  const files = extra.clean_file_policy;
  const keep = files.reserve_policy;
  const [extensions, setExtensions] = useState(printExtensions(keep));
  const change = (part: Partial<ReservePolicy>) =>
    onChange({
      ...extra,
      clean_file_policy: { ...files, reserve_policy: { ...keep, ...part } },
    });
  return (
    <Field id="keep" label={t('keep')} group="group">
      {(['size_greater', 'size_smaller'] as const).map((name) => (
        <div key={name} className="kavo-keep">
          <Checkbox
            id={`keep-${name}`}
            label={t(`keep_${name}`)}
            isChecked={keep[`${name}_check`]}
            onChange={(_, on) =>
              change({ [`${name}_check`]: on, ...(on ? { [name]: keep[name] ?? 100 } : {}) })
            }
          />
          {keep[`${name}_check`] && (
            <NumberField
              id={`keep-${name}-mb`}
              label={t(`keep_${name}`)}
              unit={t('unit_mb')}
              value={keep[name]}
              max={maxMegabytes}
              fault={faults[name]}
              onChange={(value) => change({ [name]: value })}
            />
          )}
        </div>
      ))}
      <div className="kavo-keep">
        <Checkbox
          id="keep-extension"
          label={t('keep_extension')}
          isChecked={keep.extension_check}
          onChange={(_, on) =>
            change({ extension_check: on, ...(on ? { extension: keep.extension ?? [] } : {}) })
          }
        />
        {keep.extension_check && (
          <div>
            <TextInput
              id="keep-extensions"
              aria-label={t('keep_extension')}
              placeholder="jpg, png"
              value={extensions}
              {...described('keep-extensions', faults.extension)}
              onChange={(_, text) => {
                setExtensions(text);
                change({ extension: parseExtensions(text) });
              }}
            />
            <small id="keep-extensions-help" className="kavo-fault" aria-live="polite">
              {faults.extension && t(faults.extension)}
            </small>
          </div>
        )}
      </div>
    </Field>
  );
}
