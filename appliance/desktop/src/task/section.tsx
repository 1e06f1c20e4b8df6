import { Card, CardBody, CardHeader, CardTitle } from '@patternfly/react-core';
import { useId, type ReactNode } from 'react';

/** A part of a form under a heading of its own. */
export function Section({ title, children }: { title: string; children: ReactNode }) {
  const id = useId();
  return (
    <Card component="section" aria-labelledby={id} className="kavo-section">
      <CardHeader>
        <CardTitle component="h2" id={id}>
          {title}
        </CardTitle>
      </CardHeader>
      <CardBody className="kavo-stack">{children}</CardBody>
    </Card>
  );
}
