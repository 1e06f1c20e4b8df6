// What stands around every view: the bar at the top, and a word when the server is away.
import {
  Banner,
  Button,
  Masthead,
  MastheadContent,
  MastheadMain,
  Page,
  SkipToContent,
  Toolbar,
  ToolbarContent,
  ToolbarGroup,
  ToolbarItem,
} from '@patternfly/react-core';
import HistoryIcon from '@patternfly/react-icons/dist/esm/icons/history-icon';
import { useEffect, useState, type ReactNode } from 'react';
import { context as transport } from '../api/transport';
import { useRouter } from '../router';
import { useTexts } from '../texts';
import { LanguageMenu } from './language_menu';
import { Logo } from './logo';
import { ThemeMenu } from './theme_menu';
import { UserMenu } from './user_menu';

interface FrameProps {
  language: string;
  onLanguage: (id: string) => void;
  children: ReactNode;
}

export function Frame({ language, onLanguage, children }: FrameProps) {
  const { t } = useTexts();
  const { go } = useRouter();
  const [reachable, setReachable] = useState(true);
  useEffect(() => {
    transport.onReachable = setReachable;
  }, []);
  const toContent = () => document.getElementById('content')?.focus();
  const masthead = (
    <Masthead display={{ default: 'inline' }}>
      <MastheadMain>
        <Button
          variant="plain"
          className="kavo-home"
          aria-label={t('title')}
          onClick={() => go({ view: 'list' })}
        >
          <Logo />
        </Button>
      </MastheadMain>
      <MastheadContent>
        <Toolbar isStatic aria-label={t('page_tools')}>
          <ToolbarContent>
            <ToolbarGroup align={{ default: 'alignEnd' }} columnGap={{ default: 'columnGapNone' }}>
              <ToolbarItem>
                <Button
                  variant="plain"
                  icon={<HistoryIcon />}
                  aria-label={t('all_runs')}
                  onClick={() => go({ view: 'runs' })}
                >
                  <span className="kavo-wide">{t('all_runs')}</span>
                </Button>
              </ToolbarItem>
              <ToolbarItem>
                <LanguageMenu language={language} onLanguage={onLanguage} />
              </ToolbarItem>
              <ToolbarItem>
                <ThemeMenu />
              </ToolbarItem>
              <ToolbarItem>
                <UserMenu />
              </ToolbarItem>
            </ToolbarGroup>
          </ToolbarContent>
        </Toolbar>
      </MastheadContent>
    </Masthead>
  );
  return (
    <Page
      masthead={masthead}
      mainContainerId="content"
      skipToContent={
        <SkipToContent
          href="#content"
          onClick={(event) => {
            event.preventDefault();
            toContent();
          }}
        >
          {t('skip_to_content')}
        </SkipToContent>
      }
      banner={
        !reachable && (
          <Banner status="warning" screenReaderText={t('notice_danger')}>
            <span role="status">{t('server_away')}</span>
          </Banner>
        )
      }
    >
      {children}
    </Page>
  );
}
