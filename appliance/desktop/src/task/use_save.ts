// Storing what a form holds, unless somebody else has stored the task in the meantime.
import { useState } from 'react';
import { createTask, getTask, setTask } from '../api/client';
import { ApiError } from '../api/transport';
import type { Task } from '../api/types';
import { useFailureText } from '../failures';
import { changesUpon, differingParts, type StoredPart } from '../helpers/task';

/** What somebody else stored while the form was open. */
export interface Conflict {
  stored: Task;
  parts: StoredPart[];
}

interface Save {
  /** Stores it; once it is, `onSaved` is called. */
  save: (mine: Task) => Promise<void>;
  /** Stores it upon what somebody else has stored. */
  saveUpon: (mine: Task, conflict: Conflict) => Promise<void>;
  busy: boolean;
  failure: string | undefined;
  conflict: Conflict | undefined;
  forgetConflict: () => void;
}

export function useSave(opened: Task, onSaved: (id: number) => void): Save {
  const failureText = useFailureText();
  const [busy, setBusy] = useState(false);
  const [failure, setFailure] = useState<string>();
  const [conflict, setConflict] = useState<Conflict>();
  const isNew = !(opened.id > 0);

  const attempt = async (act: () => Promise<{ id: number } | undefined>) => {
    setBusy(true);
    setFailure(undefined);
    setConflict(undefined);
    try {
      const saved = await act();
      if (saved) onSaved(saved.id);
    } catch (error) {
      // After signing in again it can be saved once more.
      if (!(error instanceof ApiError && error.status === 401))
        setFailure(await failureText(error));
    } finally {
      setBusy(false);
    }
  };

  const save = (mine: Task) =>
    attempt(async () => {
      if (isNew) {
        // A document without a number is a new one; undefined members are not sent.
        return createTask({ ...mine, id: undefined });
      }
      const stored = await getTask(opened.id);
      const parts = differingParts(stored, opened);
      if (parts.length === 0) return setTask(mine);
      setConflict({ stored, parts });
      return undefined;
    });
  const saveUpon = (mine: Task, { stored }: Conflict) =>
    attempt(() => setTask(changesUpon(stored, opened, mine)));

  return {
    save,
    saveUpon,
    busy,
    failure,
    conflict,
    forgetConflict: () => setConflict(undefined),
  };
}
