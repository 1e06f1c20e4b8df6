import { Button } from '@patternfly/react-core';
import { useState } from 'react';
import { stopRun } from '../api/client';
import type { Run } from '../api/types';
import { useFailureText } from '../failures';
import { useNotify } from '../notices';
import { useTexts } from '../texts';

/** Ends a run with all that it started; a command may take a while to heed that. */
export function StopButton({ run }: { run: Run }) {
  const { t } = useTexts();
  const notify = useNotify();
  const failureText = useFailureText();
  const [stopping, setStopping] = useState(false);
  const stop = async () => {
    setStopping(true);
    try {
      await stopRun(run.id);
    } catch (failure) {
      notify('danger', t('not_stopped'), await failureText(failure));
      setStopping(false);
    }
  };
  return (
    <Button
      variant="secondary"
      isDanger
      size="sm"
      isLoading={stopping}
      isDisabled={stopping}
      spinnerAriaLabel={t('busy')}
      aria-label={t('stop_run', { id: run.id })}
      onClick={() => void stop()}
    >
      {t('stop')}
    </Button>
  );
}
