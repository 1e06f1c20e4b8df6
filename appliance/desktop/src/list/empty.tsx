import {
  Button,
  Card,
  CardBody,
  CardHeader,
  CardTitle,
  EmptyState,
  EmptyStateActions,
  EmptyStateBody,
  EmptyStateFooter,
} from '@patternfly/react-core';
import SearchIcon from '@patternfly/react-icons/dist/esm/icons/search-icon';
import { formTypes } from '../helpers/route';
import { useRouter } from '../router';
import { useTexts } from '../texts';
import { kindIcons } from './task_kinds';

/** Before there is any task: what to do first. */
export function FirstTask() {
  const { t } = useTexts();
  const { go } = useRouter();
  return (
    <EmptyState headingLevel="h2" titleText={t('first_title')} className="kavo-first">
      <EmptyStateBody>{t('first_text')}</EmptyStateBody>
      <EmptyStateFooter>
        <div className="kavo-first-choices">
          {formTypes.map((type) => {
            const Icon = kindIcons[type];
            return (
              <Card key={type} isClickable isCompact>
                <CardHeader
                  selectableActions={{
                    onClickAction: () => go({ view: 'new', type }),
                    selectableActionId: `first-${type}`,
                    selectableActionAriaLabelledby: `first-${type}-title`,
                    name: 'first-task',
                  }}
                >
                  <span className={`kavo-kind-icon kavo-kind-${type}`} aria-hidden="true">
                    <Icon />
                  </span>
                  <CardTitle id={`first-${type}-title`}>{t(`kind_${type}`)}</CardTitle>
                </CardHeader>
                <CardBody>{t(`kind_${type}_does`)}</CardBody>
              </Card>
            );
          })}
        </div>
      </EmptyStateFooter>
    </EmptyState>
  );
}

export function NothingFound({ onClear }: { onClear: () => void }) {
  const { t } = useTexts();
  return (
    <EmptyState headingLevel="h2" icon={SearchIcon} titleText={t('nothing_found')}>
      <EmptyStateBody>{t('nothing_found_text')}</EmptyStateBody>
      <EmptyStateFooter>
        <EmptyStateActions>
          <Button variant="link" onClick={onClear}>
            {t('clear_search')}
          </Button>
        </EmptyStateActions>
      </EmptyStateFooter>
    </EmptyState>
  );
}
