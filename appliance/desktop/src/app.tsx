import { lazy, Suspense, useState } from 'react';
import type { Route } from './helpers/route';
import { LoadingRows } from './list/loading';
import { TaskList } from './list/task_list';
import { NoticesProvider } from './notices';
import { RouterProvider, useRouter } from './router';
import { SessionProvider, useSession } from './session';
import { Frame } from './shell/frame';
import { SignIn } from './shell/sign_in';
import { TextsProvider } from './texts';

// What the list does not need is loaded when it is asked for.
const TaskPage = lazy(() => import('./task/task_page'));
const RunList = lazy(() => import('./runs/run_list'));
const RunView = lazy(() => import('./runs/run_view'));

export function App({ link }: { link?: string }) {
  return (
    <SessionProvider {...(link ? { link } : {})}>
      <Localised />
    </SessionProvider>
  );
}

const languageKey = 'kavo-language';

function Localised() {
  const { session } = useSession();
  const [chosen, setChosen] = useState(localStorage.getItem(languageKey));
  const known = session.languages.find(({ id }) => id === chosen);
  const choose = (id: string) => {
    localStorage.setItem(languageKey, id);
    setChosen(id);
  };
  return (
    <TextsProvider language={known?.id ?? session.language}>
      <Signed language={known?.id ?? session.language} onLanguage={choose} />
    </TextsProvider>
  );
}

interface LanguageChoice {
  language: string;
  onLanguage: (id: string) => void;
}

// What lies behind the sign-in page is hidden, not removed: an edit goes on after signing in again.
// Another account starts anew.
function Signed(choice: LanguageChoice) {
  const { session, signedIn } = useSession();
  return (
    <>
      {!signedIn && <SignIn {...choice} />}
      {session.user !== null && (
        <div hidden={!signedIn} key={session.user}>
          <RouterProvider>
            <NoticesProvider>
              <Frame {...choice}>
                <Suspense fallback={<LoadingRows />}>
                  <View />
                </Suspense>
              </Frame>
            </NoticesProvider>
          </RouterProvider>
        </div>
      )}
    </>
  );
}

const keyOf = (route: Route): string => JSON.stringify(route);

function View() {
  const { route } = useRouter();
  switch (route.view) {
    case 'list':
      return <TaskList />;
    case 'new':
      return <TaskPage key={keyOf(route)} type={route.type} />;
    case 'task':
      return <TaskPage key={keyOf(route)} id={route.id} />;
    case 'runs':
      return (
        <RunList key={keyOf(route)} {...(route.task === undefined ? {} : { task: route.task })} />
      );
    case 'run':
      return <RunView key={keyOf(route)} id={route.id} task={route.task} />;
  }
}
