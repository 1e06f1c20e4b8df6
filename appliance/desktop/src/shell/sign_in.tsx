import {
  ActionGroup,
  Alert,
  Button,
  Card,
  CardBody,
  CardHeader,
  Form,
  FormGroup,
  TextInput,
  Title,
} from '@patternfly/react-core';
import { useEffect, useRef, useState, type FormEvent } from 'react';
import { ApiError } from '../api/transport';
import { useSession, type EndReason } from '../session';
import { useTexts } from '../texts';
import { LanguageMenu } from './language_menu';
import { Logo } from './logo';

const reasonKeys: Record<EndReason, string | undefined> = {
  none: undefined,
  ended: 'sign_in_ended',
  'signed-out': 'sign_in_signed_out',
  idle: 'sign_in_idle',
  'bad-link': 'sign_in_bad_link',
};

interface Failure {
  text: string;
  wait: number;
}

function useFailureWords() {
  const { t, count } = useTexts();
  return (failure: unknown): Failure => {
    if (!(failure instanceof ApiError)) return { text: t('server_away'), wait: 0 };
    switch (failure.status) {
      case 401:
        return { text: t('sign_in_wrong'), wait: 0 };
      case 403:
        return { text: t('sign_in_not_admin'), wait: 0 };
      case 429: {
        const wait = Math.max(1, failure.retryAfter);
        return { text: count('sign_in_wait', wait), wait };
      }
      default:
        return { text: failure.detail || t('failed'), wait: 0 };
    }
  };
}

interface SignInProps {
  language: string;
  onLanguage: (id: string) => void;
}

export function SignIn({ language, onLanguage }: SignInProps) {
  const { t } = useTexts();
  const { session, reason, signIn } = useSession();
  const words = useFailureWords();
  const [user, setUser] = useState(session.user ?? '');
  const [password, setPassword] = useState('');
  const [failure, setFailure] = useState<string>();
  const [busy, setBusy] = useState(false);
  const [waiting, setWaiting] = useState(false);
  const passwordField = useRef<HTMLInputElement>(null);
  const userField = useRef<HTMLInputElement>(null);

  useEffect(() => {
    (session.user ? passwordField : userField).current?.focus();
  }, [session.user]);

  const submit = async (event: FormEvent) => {
    event.preventDefault();
    setBusy(true);
    try {
      await signIn(user, password);
    } catch (error) {
      const { text, wait } = words(error);
      setFailure(text);
      setWaiting(wait > 0);
      window.setTimeout(() => setWaiting(false), wait * 1000);
      setPassword('');
      passwordField.current?.focus();
    } finally {
      setBusy(false);
    }
  };

  const why = reasonKeys[reason];
  return (
    <main className="kavo-sign-in">
      <Card isLarge className="kavo-sign-in-card">
        <CardHeader
          actions={{
            actions: <LanguageMenu language={language} onLanguage={onLanguage} />,
            hasNoOffset: true,
          }}
        >
          <Logo />
        </CardHeader>
        <CardBody>
          <Form onSubmit={(event) => void submit(event)}>
            <Title headingLevel="h1" size="2xl">
              {t('sign_in_title')}
            </Title>
            {failure !== undefined ? (
              <Alert isInline isLiveRegion variant="danger" title={failure} />
            ) : (
              why && <Alert isInline isLiveRegion variant="info" title={t(why)} />
            )}
            <FormGroup label={t('sign_in_user')} fieldId="sign-in-user" isRequired>
              <TextInput
                id="sign-in-user"
                ref={userField}
                isRequired
                autoComplete="username"
                value={user}
                onChange={(_, value) => setUser(value)}
              />
            </FormGroup>
            <FormGroup label={t('sign_in_password')} fieldId="sign-in-password" isRequired>
              <TextInput
                id="sign-in-password"
                ref={passwordField}
                isRequired
                type="password"
                autoComplete="current-password"
                value={password}
                onChange={(_, value) => setPassword(value)}
              />
            </FormGroup>
            <ActionGroup>
              <Button
                type="submit"
                isBlock
                isLoading={busy}
                spinnerAriaLabel={t('busy')}
                isDisabled={busy || waiting || user === '' || password === ''}
              >
                {t('sign_in')}
              </Button>
            </ActionGroup>
            <p className="kavo-hint">{t('sign_in_link_hint')}</p>
          </Form>
        </CardBody>
      </Card>
    </main>
  );
}
