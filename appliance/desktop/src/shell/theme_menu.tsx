import { MenuToggle, Select, SelectList, SelectOption } from '@patternfly/react-core';
import AdjustIcon from '@patternfly/react-icons/dist/esm/icons/adjust-icon';
import MoonIcon from '@patternfly/react-icons/dist/esm/icons/moon-icon';
import SunIcon from '@patternfly/react-icons/dist/esm/icons/sun-icon';
import { useState } from 'react';
import { useTexts } from '../texts';
import { setTheme, storedTheme, themes, type Theme } from '../theme';

const icons = { system: <AdjustIcon />, light: <SunIcon />, dark: <MoonIcon /> };

export function ThemeMenu() {
  const { t } = useTexts();
  const [isOpen, setOpen] = useState(false);
  const [theme, setOwn] = useState(storedTheme);
  const choose = (chosen: Theme) => {
    setOpen(false);
    setTheme(chosen);
    setOwn(chosen);
  };
  return (
    <Select
      isOpen={isOpen}
      onOpenChange={setOpen}
      selected={theme}
      onSelect={(_, value) => choose(value as Theme)}
      popperProps={{ position: 'end' }}
      toggle={(ref) => (
        <MenuToggle
          ref={ref}
          variant="plain"
          icon={icons[theme]}
          isExpanded={isOpen}
          onClick={() => setOpen(!isOpen)}
          aria-label={t('theme_choice', { theme: t(`theme_${theme}`) })}
        />
      )}
    >
      <SelectList aria-label={t('theme')}>
        {themes.map((each) => (
          <SelectOption key={each} value={each} icon={icons[each]}>
            {t(`theme_${each}`)}
          </SelectOption>
        ))}
      </SelectList>
    </Select>
  );
}
