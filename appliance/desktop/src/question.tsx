// A question that is to be answered before anything else.
import { Button, Modal, ModalBody, ModalFooter, ModalHeader } from '@patternfly/react-core';
import { useId, type ReactNode } from 'react';
import { useSession } from './session';

interface QuestionProps {
  isOpen: boolean;
  title: string;
  confirm: string;
  cancel: string;
  danger?: boolean;
  /** A third answer, between the two. */
  other?: { label: string; onChoose: () => void };
  onConfirm: () => void;
  onCancel: () => void;
  children: ReactNode;
}

export function Question(props: QuestionProps) {
  const { signedIn } = useSession();
  const id = useId();
  return (
    <Modal
      variant="small"
      isOpen={props.isOpen && signedIn}
      onEscapePress={props.onCancel}
      aria-labelledby={`${id}-title`}
      aria-describedby={`${id}-body`}
    >
      <ModalHeader
        title={props.title}
        labelId={`${id}-title`}
        {...(props.danger ? { titleIconVariant: 'warning' as const } : {})}
      />
      <ModalBody id={`${id}-body`}>{props.children}</ModalBody>
      <ModalFooter>
        <Button variant={props.danger ? 'danger' : 'primary'} onClick={props.onConfirm}>
          {props.confirm}
        </Button>
        {props.other && (
          <Button variant="secondary" onClick={props.other.onChoose}>
            {props.other.label}
          </Button>
        )}
        <Button variant="link" onClick={props.onCancel}>
          {props.cancel}
        </Button>
      </ModalFooter>
    </Modal>
  );
}
