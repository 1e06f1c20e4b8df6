// A labelled field of a form, with what is wrong with it or a hint below.
import { FormGroup, FormHelperText, HelperText, HelperTextItem } from '@patternfly/react-core';
import type { ReactNode } from 'react';
import { useTexts } from '../texts';

interface FieldProps {
  id: string;
  label: string;
  /** The key of what is wrong. */
  fault?: string | undefined;
  hint?: ReactNode;
  /** A group of controls has a name instead of a label for one of them. */
  group?: 'group' | 'radiogroup';
  isRequired?: boolean;
  children: ReactNode;
}

export function Field({ id, label, fault, hint, group, isRequired, children }: FieldProps) {
  const { t } = useTexts();
  return (
    <FormGroup
      label={label}
      fieldId={id}
      {...(isRequired ? { isRequired } : {})}
      {...(group ? { role: group, isStack: true } : {})}
    >
      {children}
      {(fault || hint) && (
        <FormHelperText>
          <HelperText id={`${id}-help`} isLiveRegion>
            <HelperTextItem variant={fault ? 'error' : 'default'}>
              {fault ? t(fault) : hint}
            </HelperTextItem>
          </HelperText>
        </FormHelperText>
      )}
    </FormGroup>
  );
}

/** What ties a control to its field's words. */
export const described = (id: string, fault: string | undefined) => ({
  'aria-describedby': `${id}-help`,
  'aria-invalid': fault !== undefined,
  validated: fault ? ('error' as const) : ('default' as const),
});
