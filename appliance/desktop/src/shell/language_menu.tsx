import { MenuToggle, Select, SelectList, SelectOption } from '@patternfly/react-core';
import GlobeIcon from '@patternfly/react-icons/dist/esm/icons/globe-icon';
import { useState } from 'react';
import { useSession } from '../session';
import { useTexts } from '../texts';

interface LanguageMenuProps {
  language: string;
  onLanguage: (id: string) => void;
}

/** Every language that the server has a folder for, each under its own name. */
export function LanguageMenu({ language, onLanguage }: LanguageMenuProps) {
  const { t } = useTexts();
  const { session } = useSession();
  const [isOpen, setOpen] = useState(false);
  const name = session.languages.find(({ id }) => id === language)?.name ?? language;
  return (
    <Select
      isOpen={isOpen}
      onOpenChange={setOpen}
      selected={language}
      onSelect={(_, id) => {
        setOpen(false);
        onLanguage(String(id));
      }}
      popperProps={{ position: 'end' }}
      toggle={(ref) => (
        <MenuToggle
          ref={ref}
          variant="plainText"
          icon={<GlobeIcon />}
          isExpanded={isOpen}
          onClick={() => setOpen(!isOpen)}
          aria-label={t('language_choice', { language: name })}
        >
          <span className="kavo-wide">{name}</span>
        </MenuToggle>
      )}
    >
      <SelectList aria-label={t('language')}>
        {session.languages.map(({ id, name: own }) => (
          <SelectOption key={id} value={id} lang={id}>
            <bdi>{own}</bdi>
          </SelectOption>
        ))}
      </SelectList>
    </Select>
  );
}
