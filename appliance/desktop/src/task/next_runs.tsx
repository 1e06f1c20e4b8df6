// When the task will run next, as the server computes it while the schedule is being typed.
import { Alert, Card, CardBody, CardHeader, CardTitle, Label } from '@patternfly/react-core';
import { useEffect, useState } from 'react';
import { previewRuns } from '../api/client';
import { serverNow } from '../api/transport';
import type { PreviewRun, Schedule } from '../api/types';
import { relativeTime, wallClockTime } from '../helpers/format';
import { scheduleWords } from '../helpers/schedule';
import { useSession } from '../session';
import { useTexts } from '../texts';

const runsShown = 5;
const typingPause = 250;

interface NextRunsProps {
  schedule: Schedule;
  isDisabled: boolean;
  isFaulty: boolean;
}

interface Preview {
  runs: PreviewRun[];
  timezone: string;
}

/** undefined until they are known, and when the server cannot tell. */
function usePreview(schedule: Schedule, isFaulty: boolean): Preview | undefined {
  const { signedIn } = useSession();
  const [preview, setPreview] = useState<Preview>();
  const key = JSON.stringify(schedule);
  useEffect(() => {
    if (isFaulty || !signedIn) return undefined;
    const cancel = new AbortController();
    const timer = window.setTimeout(() => {
      previewRuns(JSON.parse(key) as Schedule, runsShown, cancel.signal).then(
        setPreview,
        () => cancel.signal.aborted || setPreview(undefined),
      );
    }, typingPause);
    return () => {
      window.clearTimeout(timer);
      cancel.abort();
    };
  }, [key, isFaulty, signedIn]);
  return isFaulty ? undefined : preview;
}

export function NextRuns({ schedule, isDisabled, isFaulty }: NextRunsProps) {
  const texts = useTexts();
  const { t, language } = texts;
  const preview = usePreview(schedule, isFaulty);
  const now = serverNow() / 1000;
  return (
    <Card className="kavo-next" component="section" aria-labelledby="next-runs">
      <CardHeader>
        <CardTitle component="h2" id="next-runs">
          {t('next_runs')}
        </CardTitle>
      </CardHeader>
      <CardBody>
        {!isFaulty && <p className="kavo-words">{scheduleWords(schedule, texts)}</p>}
        {isFaulty && <p className="kavo-hint">{t('next_runs_faulty')}</p>}
        {preview && preview.runs.length === 0 && <p>{t('never_again')}</p>}
        <ol className="kavo-next-list">
          {preview?.runs.map(({ at, local, note }) => (
            <li key={at}>
              <span>{wallClockTime(local, language)}</span>
              <small className="kavo-hint">{relativeTime(at - now, language)}</small>
              {note && (
                <Label isCompact status="warning">
                  {t(`note_${note}`)}
                </Label>
              )}
            </li>
          ))}
        </ol>
        {preview && <p className="kavo-hint">{t('next_runs_zone', { zone: preview.timezone })}</p>}
        {isDisabled && <Alert isInline isPlain variant="info" title={t('next_runs_disabled')} />}
      </CardBody>
    </Card>
  );
}
