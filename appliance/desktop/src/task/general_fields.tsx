import { FormSelect, FormSelectOption, Switch, TextInput } from '@patternfly/react-core';
import { useEffect, useState } from 'react';
import { listAccounts } from '../api/client';
import type { Account, Task } from '../api/types';
import type { Faults } from '../helpers/schedule';
import type { TaskField } from '../helpers/task';
import { useTexts } from '../texts';
import { described, Field } from './field';
import { Section } from './section';

interface GeneralFieldsProps {
  task: Task;
  isNew: boolean;
  isTried: boolean;
  faults: Faults<TaskField>;
  onChange: (task: Task) => void;
}

function useAccounts(): Account[] {
  const [accounts, setAccounts] = useState<Account[]>([]);
  useEffect(() => {
    listAccounts().then(
      (answer) => setAccounts(answer.accounts),
      () => undefined,
    );
  }, []);
  return accounts;
}

function OwnerField({ task, onChange }: Pick<GeneralFieldsProps, 'task' | 'onChange'>) {
  const { t } = useTexts();
  const accounts = useAccounts();
  const isKnown = accounts.some(({ name }) => name === task.owner);
  if (!task.can_edit_owner) {
    return (
      <Field id="task-owner" label={t('owner')} hint={t('owner_fixed')}>
        <TextInput
          id="task-owner"
          value={task.owner}
          readOnlyVariant="default"
          aria-describedby="task-owner-help"
        />
      </Field>
    );
  }
  return (
    <Field
      id="task-owner"
      label={t('owner')}
      hint={t(isKnown || accounts.length === 0 ? 'owner_hint' : 'owner_unknown')}
    >
      <FormSelect
        id="task-owner"
        value={task.owner}
        aria-describedby="task-owner-help"
        onChange={(_, owner) => onChange({ ...task, owner })}
      >
        {!isKnown && <FormSelectOption value={task.owner} label={task.owner} />}
        {accounts.map(({ name, full_name: full }) => (
          <FormSelectOption
            key={name}
            value={name}
            label={full && full !== name ? `${name} (${full})` : name}
          />
        ))}
      </FormSelect>
    </Field>
  );
}

export function GeneralFields({ task, isNew, isTried, faults, onChange }: GeneralFieldsProps) {
  const { t } = useTexts();
  // A field that nobody has touched yet is not said to be wrong.
  const fault = isTried || !isNew || task.name !== '' ? faults.name : undefined;
  return (
    <Section title={t('section_general')}>
      <Field id="task-name" label={t('column_name')} fault={fault} isRequired>
        <TextInput
          id="task-name"
          value={task.name}
          dir="auto"
          autoFocus={isNew}
          isRequired
          {...(task.can_edit_name || isNew ? {} : { readOnlyVariant: 'default' as const })}
          {...described('task-name', fault)}
          onChange={(_, name) => onChange({ ...task, name })}
        />
      </Field>
      <OwnerField task={task} onChange={onChange} />
      <Switch
        id="task-enable"
        label={t('enable_label')}
        isChecked={task.enable}
        onChange={(_, enable) => onChange({ ...task, enable })}
      />
    </Section>
  );
}
