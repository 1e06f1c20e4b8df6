import { Dropdown, DropdownItem, DropdownList, MenuToggle } from '@patternfly/react-core';
import UserIcon from '@patternfly/react-icons/dist/esm/icons/user-icon';
import { useState } from 'react';
import { useSession } from '../session';
import { useTexts } from '../texts';

export function UserMenu() {
  const { t } = useTexts();
  const { session, signOut } = useSession();
  const [isOpen, setOpen] = useState(false);
  return (
    <Dropdown
      isOpen={isOpen}
      onOpenChange={setOpen}
      onSelect={() => setOpen(false)}
      popperProps={{ position: 'end' }}
      toggle={(ref) => (
        <MenuToggle
          ref={ref}
          variant="plainText"
          icon={<UserIcon />}
          isExpanded={isOpen}
          onClick={() => setOpen(!isOpen)}
          aria-label={t('account_menu', { user: session.user ?? '' })}
        >
          <span className="kavo-wide">{session.user}</span>
        </MenuToggle>
      )}
    >
      <DropdownList>
        <DropdownItem onClick={signOut}>{t('sign_out')}</DropdownItem>
      </DropdownList>
    </Dropdown>
  );
}
