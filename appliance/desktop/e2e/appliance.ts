// An appliance in a folder of its own: the staged tree, a store, a scheduler and a web server.
import { execFileSync, spawn, type ChildProcess } from 'node:child_process';
import { once } from 'node:events';
import { cpSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir, userInfo } from 'node:os';
import { dirname, join } from 'node:path';
import { createInterface } from 'node:readline';

export const user = userInfo().username;
// Whoever runs the tests administers the appliance.
const group = execFileSync('id', ['-gn'], { encoding: 'utf8' }).trim();
export const password = 'correct horse';
// The system's modules ask this program, so that a test knows the password of every account.
const checkPassword = `#!/bin/sh\n[ "$(tr -d '\\000')" = '${password}' ]\n`;

/** Waits for the first line, which says that the program is ready, or why not. */
async function firstLine(child: ChildProcess): Promise<string> {
  const output = child.stdout ?? child.stderr!;
  const gone = once(child, 'exit').then(() => {
    throw new Error(`${child.spawnfile} ended before it was ready`);
  });
  gone.catch(() => undefined);
  const [line] = (await Promise.race([once(createInterface({ input: output }), 'line'), gone])) as [
    string,
  ];
  output.resume();
  return line;
}

async function end(child: ChildProcess | undefined): Promise<void> {
  if (!child || child.exitCode !== null || child.signalCode !== null) return;
  child.kill('SIGTERM');
  await once(child, 'exit');
}

export class Appliance {
  readonly root = mkdtempSync(join(tmpdir(), 'kavo-desktop-'));
  private readonly environment = { ...process.env, KAVO_ROOT: this.root, TZ: 'UTC' };
  private scheduler: ChildProcess | undefined;
  private server: ChildProcess | undefined;
  private port = 0;

  /** Lays the files out; nothing runs yet. */
  constructor(configuration = '') {
    const staged = process.env['KAVO_STAGED'];
    if (!staged) throw new Error('KAVO_STAGED has to name the folder of a staged installation.');
    cpSync(join(staged, 'usr'), join(this.root, 'usr'), { recursive: true });
    mkdirSync(join(this.root, 'var/lib/kavo'), { recursive: true });
    const program = join(this.root, 'check-password');
    writeFileSync(program, checkPassword, { mode: 0o755 });
    const pam = [
      `auth [success=done default=ignore] pam_exec.so quiet expose_authtok ${program}`,
      'auth required pam_deny.so',
      'account required pam_permit.so\n',
    ];
    this.write('etc/pam.d/kavo-webd', pam.join('\n'));
    this.write('etc/kavo/kavo.conf', `adminGroup="${group}"\n${configuration}`);
    const shares = ['Photos', 'Music & "Films"'].map((name) => ({
      name,
      path: join(this.root, 'shares', name),
      recycle_bin: true,
    }));
    for (const { path } of shares) mkdirSync(join(path, '#recycle'), { recursive: true });
    this.write('etc/kavo/shares.json', JSON.stringify({ shares }));
    const app = join(this.root, 'usr/kavo/kavoman/webman/3rdparty/Notes');
    cpSync(join(__dirname, '../../../tests/example_app'), app, { recursive: true });
  }

  get address(): string {
    return `http://127.0.0.1:${this.port}`;
  }

  write(path: string, text: string): void {
    mkdirSync(dirname(join(this.root, path)), { recursive: true });
    writeFileSync(join(this.root, path), text);
  }

  async start(): Promise<this> {
    await this.startScheduler();
    await this.startServer();
    return this;
  }

  async startScheduler(): Promise<void> {
    this.scheduler = this.spawn('kavo-schedd', ['--verbose'], 'stderr');
    await firstLine(this.scheduler);
  }

  /** The first time at any free port, later at the same one. */
  async startServer(): Promise<void> {
    this.server = this.spawn('kavo-webd', ['--port', String(this.port)], 'stdout');
    this.port = Number(/:(\d+)\/?$/.exec(await firstLine(this.server))?.[1]);
  }

  stopScheduler = () => end(this.scheduler);
  stopServer = () => end(this.server);

  async remove(): Promise<void> {
    await this.stopServer();
    await this.stopScheduler();
    rmSync(this.root, { recursive: true, force: true, maxRetries: 5 });
  }

  /** Runs a command of the appliance and answers what it prints. */
  kavo(...commandLine: string[]): string {
    return execFileSync(join(this.root, 'usr/kavo/bin/kavo'), commandLine, {
      env: this.environment,
      encoding: 'utf8',
    });
  }

  /** Calls a method of the task scheduler without the web server. */
  call(version: number, method: string, parameters: Record<string, unknown>): unknown {
    const words = Object.entries(parameters).map(
      ([name, value]) => `${name}=${JSON.stringify(value)}`,
    );
    const answer = this.kavo('call', 'KAVO.Core.TaskScheduler', String(version), method, ...words);
    return (JSON.parse(answer) as { data: unknown }).data;
  }

  /** Stores a script task and answers its number. */
  script(name: string, script: string, more: Record<string, unknown> = {}): number {
    const task = { type: 'script', name, owner: user, extra: { script }, ...more };
    return (this.call(2, 'create', task) as { id: number }).id;
  }

  /** Stores a task of an app of another maker. */
  foreignTask(): void {
    execFileSync(process.env['KAVO_EXAMPLE_APP'] ?? '', { env: this.environment });
  }

  /** All that is stored, to compare. */
  stored = (): string => this.kavo('export');

  link(): string {
    return this.kavo('sign-in-link', '--url', this.address).trim();
  }

  private spawn(program: string, options: string[], output: 'stdout' | 'stderr'): ChildProcess {
    const [out, err] =
      output === 'stdout' ? (['pipe', 'ignore'] as const) : (['ignore', 'pipe'] as const);
    return spawn(join(this.root, 'usr/kavo/bin', program), options, {
      env: this.environment,
      stdio: ['ignore', out, err],
    });
  }
}
