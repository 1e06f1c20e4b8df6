import { Content, List, ListItem } from '@patternfly/react-core';
import type { TaskRow } from '../api/types';
import { Question } from '../question';
import { useTexts } from '../texts';

const namesShown = 8;

interface DeleteQuestionProps {
  rows: readonly TaskRow[];
  onConfirm: () => void;
  onCancel: () => void;
}

export function DeleteQuestion({ rows, onConfirm, onCancel }: DeleteQuestionProps) {
  const { t, count } = useTexts();
  return (
    <Question
      isOpen={rows.length > 0}
      title={count('delete_title', rows.length)}
      confirm={t('delete')}
      cancel={t('cancel')}
      danger
      onConfirm={onConfirm}
      onCancel={onCancel}
    >
      <List>
        {rows.slice(0, namesShown).map((row) => (
          <ListItem key={row.id}>
            <bdi>{row.name || t('unnamed')}</bdi>
          </ListItem>
        ))}
        {rows.length > namesShown && (
          <ListItem>{count('delete_more', rows.length - namesShown)}</ListItem>
        )}
      </List>
      <Content component="p">{t('delete_text')}</Content>
    </Question>
  );
}
