import {
  Alert,
  Button,
  Card,
  CardBody,
  CardHeader,
  CardTitle,
  Checkbox,
} from '@patternfly/react-core';
import { useEffect, useRef, useState } from 'react';
import type { Run } from '../api/types';
import { bytes } from '../helpers/format';
import { cutOf } from '../helpers/output';
import { useTexts } from '../texts';

interface OutputPaneProps {
  run: Run;
  output: string;
}

/** What a run wrote; while it goes on, its end stays in view. */
export function OutputPane({ run, output }: OutputPaneProps) {
  const { t, language } = useTexts();
  const [follows, setFollows] = useState(true);
  const pane = useRef<HTMLPreElement>(null);
  const { text, cut } = run.ended === null ? { text: output, cut: 0 } : cutOf(output);
  useEffect(() => {
    if (follows && pane.current) pane.current.scrollTop = pane.current.scrollHeight;
  }, [text, follows]);
  const copy = () => void navigator.clipboard?.writeText(text);
  return (
    <Card isCompact>
      <CardHeader
        actions={{
          actions: (
            <>
              {run.ended === null && (
                <Checkbox
                  id="follow-output"
                  label={t('output_follow')}
                  isChecked={follows}
                  onChange={(_, checked) => setFollows(checked)}
                />
              )}
              <Button variant="link" size="sm" isDisabled={text === ''} onClick={copy}>
                {t('copy')}
              </Button>
            </>
          ),
        }}
      >
        <CardTitle component="h2">{t('output')}</CardTitle>
      </CardHeader>
      <CardBody>
        {text === '' ? (
          <p className="kavo-hint">{t(run.ended === null ? 'output_none_yet' : 'output_none')}</p>
        ) : (
          <pre ref={pane} className="kavo-output" tabIndex={0} aria-label={t('output')} dir="auto">
            {text}
          </pre>
        )}
        {cut > 0 && (
          <Alert
            isInline
            isPlain
            variant="warning"
            title={t('output_cut', { size: bytes(cut, language) })}
          />
        )}
      </CardBody>
    </Card>
  );
}
