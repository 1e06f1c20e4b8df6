// How a call travels: the envelope, the session's token, and what a failure is.
import type { paths } from './schema';
import type { Envelope } from './types';

/** The server or a method refused. `status` is the HTTP status, `code` the error's own number. */
export class ApiError extends Error {
  constructor(
    readonly status: number,
    readonly code: number,
    readonly detail: string,
    readonly retryAfter = 0,
  ) {
    super(detail || `error ${code}`);
  }
}

/** No answer came: the server is away, or cannot serve anything at the moment. */
export class Unreachable extends Error {}

interface Context {
  token: string | null;
  language: string;
  /** Called when an answer says that there is no session (any more). */
  onSignedOut: () => void;
  /** Called after each exchange: whether the server is there. */
  onReachable: (reachable: boolean) => void;
}

export const context: Context = {
  token: null,
  language: '',
  onSignedOut: () => undefined,
  onReachable: () => undefined,
};

let clockOffset = 0;
/** The server's present moment in milliseconds, to the second: its clock may differ from ours. */
export const serverNow = (): number => Date.now() + clockOffset;

function noteClock(response: Response): void {
  const date = Date.parse(response.headers.get('Date') ?? '');
  if (!Number.isNaN(date) && Math.abs(date - Date.now()) > 2000) clockOffset = date - Date.now();
}

const isEnvelope = (value: unknown): value is Envelope =>
  typeof value === 'object' && value !== null && 'success' in value;

async function answerOf(response: Response): Promise<unknown> {
  const body: unknown = await response.json().catch(() => null);
  // A proxy in front of a server that is away answers in its own words.
  if (!isEnvelope(body)) throw new Unreachable(`HTTP ${response.status}`);
  if (body.success) return body.data;
  const retryAfter = Number(response.headers.get('Retry-After') ?? 0);
  throw new ApiError(response.status, body.error.code, body.error.data?.msg ?? '', retryAfter);
}

async function exchange(path: string, init: RequestInit): Promise<unknown> {
  const headers = new Headers(init.headers);
  if (context.language) headers.set('X-Kavo-Language', context.language);
  if (context.token) headers.set('X-Kavo-Token', context.token);
  let response: Response;
  try {
    response = await fetch(path, { ...init, headers, cache: 'no-store' });
  } catch (failure) {
    if (init.signal?.aborted) throw failure;
    context.onReachable(false);
    throw new Unreachable(String(failure));
  }
  noteClock(response);
  try {
    const answer = await answerOf(response);
    context.onReachable(true);
    return answer;
  } catch (failure) {
    context.onReachable(!(failure instanceof Unreachable));
    throw failure;
  }
}

export const fetchJson = (path: string): Promise<unknown> => exchange(path, {});

export const postJson = (path: string, body: unknown, signal?: AbortSignal): Promise<unknown> =>
  exchange(path, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(body),
    ...(signal ? { signal } : {}),
  });

// Another window may have signed in anew: its cookie is ours too, but the token is a new one.
async function refreshedToken(): Promise<boolean> {
  const session = (await fetchJson('/webapi/session')) as { token: string | null };
  const changed = session.token !== null && session.token !== context.token;
  if (changed) context.token = session.token;
  return changed;
}

/** A method's path, what it takes, and what it answers: all as the API's description has it. */
export type MethodPath = Extract<keyof paths, `/webapi/KAVO.${string}`>;
export type Parameters<P extends MethodPath> = NonNullable<
  paths[P]['post']['requestBody']
>['content']['application/json'];
export type Answer<P extends MethodPath> = Extract<
  paths[P]['post']['responses'][200]['content']['application/json'],
  { success: true }
>['data'];

/** Calls a method with the session; a session that has ended is told to the page. */
export async function callMethod<P extends MethodPath>(
  path: P,
  parameters: Parameters<P>,
  signal?: AbortSignal,
): Promise<Answer<P>> {
  try {
    return (await postJson(path, parameters, signal)) as Answer<P>;
  } catch (failure) {
    if (!(failure instanceof ApiError)) throw failure;
    if (failure.status === 403 && (await refreshedToken()))
      return (await postJson(path, parameters, signal)) as Answer<P>;
    if (failure.status === 401 || failure.status === 403) context.onSignedOut();
    throw failure;
  }
}
