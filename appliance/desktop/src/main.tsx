import '@patternfly/react-core/dist/styles/base.css';
import './desktop.css';

import { createRoot } from 'react-dom/client';
import { App } from './app';
import { linkSecret } from './helpers/route';
import { startTheme } from './theme';

startTheme();

// A sign-in link is used once; it is taken out of the address before anything else sees it.
const link = linkSecret(window.location.hash);
if (link !== undefined) window.history.replaceState(null, '', '/');

createRoot(document.getElementById('root')!).render(<App {...(link ? { link } : {})} />);
