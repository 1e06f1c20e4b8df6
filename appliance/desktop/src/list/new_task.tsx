import { Dropdown, DropdownItem, DropdownList, MenuToggle } from '@patternfly/react-core';
import PlusCircleIcon from '@patternfly/react-icons/dist/esm/icons/plus-circle-icon';
import { useState } from 'react';
import { formTypes } from '../helpers/route';
import { useRouter } from '../router';
import { useTexts } from '../texts';
import { kindIcons } from './task_kinds';

export function NewTask() {
  const { t } = useTexts();
  const { go } = useRouter();
  const [isOpen, setOpen] = useState(false);
  return (
    <Dropdown
      isOpen={isOpen}
      onOpenChange={setOpen}
      onSelect={() => setOpen(false)}
      toggle={(ref) => (
        <MenuToggle
          ref={ref}
          variant="primary"
          icon={<PlusCircleIcon />}
          isExpanded={isOpen}
          onClick={() => setOpen(!isOpen)}
        >
          {t('new_task')}
        </MenuToggle>
      )}
    >
      <DropdownList>
        {formTypes.map((type) => {
          const Icon = kindIcons[type];
          return (
            <DropdownItem
              key={type}
              icon={<Icon />}
              description={t(`kind_${type}_does`)}
              onClick={() => go({ view: 'new', type })}
            >
              {t(`kind_${type}`)}
            </DropdownItem>
          );
        })}
      </DropdownList>
    </Dropdown>
  );
}
