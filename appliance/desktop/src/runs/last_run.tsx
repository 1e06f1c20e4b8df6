import { Button } from '@patternfly/react-core';
import StopCircleIcon from '@patternfly/react-icons/dist/esm/icons/stop-circle-icon';
import type { Run } from '../api/types';
import { duration, relativeTime } from '../helpers/format';
import { useRouter } from '../router';
import { useTexts } from '../texts';
import { ResultLabel, resultWords } from './result_label';

interface LastRunProps {
  run: Run | null;
  now: number;
  onStop?: () => void;
}

/** The newest run of a task: its result, and when; while it goes on, for how long. */
export function LastRun({ run, now, onStop }: LastRunProps) {
  const texts = useTexts();
  const { t, language } = texts;
  const { go } = useRouter();
  if (!run) return <span className="kavo-hint">{t('never_ran')}</span>;
  const at = run.ended ?? run.started ?? run.due;
  const when =
    run.ended === null && run.started !== null
      ? duration(now - run.started)
      : at !== null && relativeTime(Math.min(0, at - now), language);
  return (
    <span className="kavo-last">
      <Button
        variant="link"
        isInline
        aria-label={t('show_run', { result: resultWords(run, texts), name: run.name })}
        onClick={() => go({ view: 'run', id: run.id, task: run.task })}
      >
        <ResultLabel run={run} />
      </Button>
      {onStop && (
        <Button
          variant="plain"
          size="sm"
          icon={<StopCircleIcon />}
          aria-label={t('stop_task', { name: run.name })}
          onClick={onStop}
        />
      )}
      <small className="kavo-hint">{when}</small>
    </span>
  );
}
