// Paging with the page's own texts.
import { Pagination } from '@patternfly/react-core';
import { useTexts } from './texts';

interface PagesProps {
  total: number;
  page: number;
  perPage: number;
  onPage: (page: number, perPage: number) => void;
  /** Below what is paged: for narrow screens, which have no room for it above. */
  isBelow?: boolean;
}

export function Pages({ total, page, perPage, onPage, isBelow }: PagesProps) {
  const { t } = useTexts();
  const pagination = (
    <Pagination
      isCompact
      {...(isBelow ? { variant: 'bottom' as const } : {})}
      itemCount={total}
      page={page}
      perPage={perPage}
      perPageOptions={[10, 20, 50, 100].map((value) => ({ title: String(value), value }))}
      onSetPage={(_, next) => onPage(next, perPage)}
      onPerPageSelect={(_, next) => onPage(1, next)}
      titles={{
        paginationAriaLabel: t('pages'),
        toNextPageAriaLabel: t('page_next'),
        toPreviousPageAriaLabel: t('page_previous'),
        perPageSuffix: t('per_page_suffix'),
        ofWord: t('page_of'),
        items: '',
      }}
    />
  );
  return isBelow ? <div className="kavo-pages-below">{pagination}</div> : pagination;
}
