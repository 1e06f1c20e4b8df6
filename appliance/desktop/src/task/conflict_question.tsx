import { Content, List, ListItem } from '@patternfly/react-core';
import { Question } from '../question';
import { useTexts } from '../texts';
import type { Conflict } from './use_save';

interface ConflictQuestionProps {
  conflict: Conflict | undefined;
  onOverwrite: () => void;
  onReload: () => void;
  onCancel: () => void;
}

/** Somebody else stored the task while it was being edited here. */
export function ConflictQuestion({
  conflict,
  onOverwrite,
  onReload,
  onCancel,
}: ConflictQuestionProps) {
  const { t } = useTexts();
  return (
    <Question
      isOpen={conflict !== undefined}
      title={t('conflict_title')}
      confirm={t('conflict_overwrite')}
      other={{ label: t('conflict_reload'), onChoose: onReload }}
      cancel={t('conflict_stay')}
      onConfirm={onOverwrite}
      onCancel={onCancel}
    >
      <Content component="p">{t('conflict_text')}</Content>
      <List>
        {conflict?.parts.map((part) => (
          <ListItem key={part}>{t(`part_${part}`)}</ListItem>
        ))}
      </List>
      <Content component="p">{t('conflict_choice')}</Content>
    </Question>
  );
}
