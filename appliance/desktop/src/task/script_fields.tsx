import { Skeleton } from '@patternfly/react-core';
import { lazy, Suspense } from 'react';
import type { ScriptExtra } from '../api/types';
import { useTexts } from '../texts';
import type { AppFieldsProps } from './extra_fields';
import { Field } from './field';
import { Section } from './section';

// The editor is loaded when it is needed: no other view uses it.
const CodeEditor = lazy(() => import('./code_editor'));

export function ScriptFields({ extra, faults, onChange }: AppFieldsProps<ScriptExtra>) {
  const { t } = useTexts();
  const script = typeof extra.script === 'string' ? extra.script : '';
  const change = (text: string) => onChange({ ...extra, script: text });
  return (
    <Section title={t('section_script')}>
      <Field
        id="task-script"
        label={t('script')}
        fault={faults.script}
        hint={t('script_hint')}
        group="group"
        isRequired
      >
        <Suspense fallback={<Skeleton height="12rem" screenreaderText={t('loading')} />}>
          <CodeEditor
            label={t('script')}
            describedBy={faults.script ? t(faults.script) : t('script_hint')}
            isInvalid={faults.script !== undefined}
            value={script}
            onChange={change}
          />
        </Suspense>
      </Field>
    </Section>
  );
}
