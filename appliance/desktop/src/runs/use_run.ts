import { useRef, useState } from 'react';
import { getOutput, lastRuns, listRuns } from '../api/client';
import { ApiError } from '../api/transport';
import type { Run } from '../api/types';
import { useLive } from '../live';

// Run numbers rise, and the history is answered newest first.
const pieceLimit = 200;

async function findRun(id: number, task: number): Promise<Run | undefined> {
  for (let offset = 0; ; offset += pieceLimit) {
    const { runs, total } = await listRuns({ task, offset, limit: pieceLimit });
    const found = runs.find((run) => run.id === id);
    if (found || runs.length === 0 || offset + runs.length >= total) return found;
  }
}

interface ShownRun {
  run?: Run;
  output: string;
  /** The history keeps runs for a while only. */
  isGone: boolean;
}

/** A run and what it has written so far, until it has ended. */
export function useRun(id: number, task: number): ShownRun {
  const [run, setRun] = useState<Run>();
  const [output, setOutput] = useState('');
  const [isGone, setGone] = useState(false);
  const read = useRef({ offset: 0, complete: false, revision: -1 });

  const readOutput = async () => {
    for (;;) {
      const piece = await getOutput(id, read.current.offset);
      const before = read.current.offset;
      read.current.offset = piece.offset;
      if (piece.output !== '') setOutput((text) => text + piece.output);
      if (piece.offset >= piece.size || piece.offset === before) return piece.ended;
    }
  };

  useLive(
    async () => {
      try {
        const { revision } = await lastRuns([], read.current.revision);
        if (revision !== read.current.revision) {
          const found = await findRun(id, task);
          if (!found) return setGone(true);
          setRun(found);
          read.current.revision = revision;
        }
        read.current.complete ||= await readOutput();
      } catch (failure) {
        if (failure instanceof ApiError && failure.code === 4801) setGone(true);
        else throw failure;
      }
    },
    String(id),
    !isGone,
  );
  return { ...(run ? { run } : {}), output, isGone };
}
