// An editor for shell scripts with line numbers. It stands in a shadow tree, since there its styles
// are style sheet objects, while in the page they would be elements that its policy forbids.
import { defaultKeymap, history, historyKeymap } from '@codemirror/commands';
import {
  bracketMatching,
  HighlightStyle,
  indentUnit,
  StreamLanguage,
  syntaxHighlighting,
} from '@codemirror/language';
import { shell } from '@codemirror/legacy-modes/mode/shell';
import { Compartment, EditorState } from '@codemirror/state';
import { EditorView, highlightActiveLineGutter, keymap, lineNumbers } from '@codemirror/view';
import { tags } from '@lezer/highlight';
import { useEffect, useRef } from 'react';

// The colours follow the page's: custom properties reach into a shadow tree.
const theme = EditorView.theme({
  '&': {
    color: 'var(--pf-t--global--text--color--regular)',
    backgroundColor: 'var(--pf-t--global--background--color--primary--default)',
    fontSize: '0.875rem',
  },
  '.cm-scroller': {
    fontFamily: 'var(--pf-t--global--font--family--mono)',
    maxHeight: '60vh',
    overflow: 'auto',
  },
  '.cm-content, .cm-gutter': { minHeight: '12rem' },
  '&.cm-focused': { outline: 'none' },
  '.cm-content': { caretColor: 'var(--pf-t--global--text--color--regular)' },
  '&.cm-focused .cm-cursor': { borderLeftColor: 'var(--pf-t--global--text--color--regular)' },
  '.cm-gutters': {
    color: 'var(--pf-t--global--text--color--subtle)',
    backgroundColor: 'var(--pf-t--global--background--color--secondary--default)',
    border: 'none',
  },
  '.cm-activeLineGutter': { backgroundColor: 'transparent', fontWeight: 'bold' },
});

const colours = HighlightStyle.define([
  { tag: tags.keyword, color: 'var(--kavo-code-keyword)' },
  { tag: [tags.string, tags.quote], color: 'var(--kavo-code-string)' },
  { tag: tags.comment, color: 'var(--kavo-code-comment)', fontStyle: 'italic' },
  { tag: [tags.number, tags.attributeName], color: 'var(--kavo-code-number)' },
  { tag: [tags.variableName, tags.definition(tags.variableName)], color: 'var(--kavo-code-name)' },
]);

interface CodeEditorProps {
  label: string;
  /** What a screen reader says besides the label: ids do not reach into a shadow tree. */
  describedBy: string;
  isInvalid: boolean;
  value: string;
  onChange: (value: string) => void;
}

export default function CodeEditor(props: CodeEditorProps) {
  const { label, describedBy, isInvalid, value, onChange } = props;
  const host = useRef<HTMLDivElement>(null);
  const view = useRef<EditorView>(undefined);
  const attributes = useRef(new Compartment());
  const change = useRef(onChange);
  change.current = onChange;

  useEffect(() => {
    const root = host.current!.shadowRoot ?? host.current!.attachShadow({ mode: 'open' });
    const editor = new EditorView({
      root,
      parent: root,
      state: EditorState.create({
        doc: value,
        extensions: [
          lineNumbers(),
          highlightActiveLineGutter(),
          history(),
          bracketMatching(),
          indentUnit.of('  '),
          StreamLanguage.define(shell),
          syntaxHighlighting(colours),
          theme,
          EditorView.lineWrapping,
          // The Tab key leaves the editor, as it leaves any other field.
          keymap.of([...defaultKeymap, ...historyKeymap]),
          attributes.current.of([]),
          EditorView.updateListener.of((update) => {
            if (update.docChanged) change.current(update.state.doc.toString());
          }),
        ],
      }),
    });
    view.current = editor;
    return () => editor.destroy();
    // The editor keeps the text from then on.
    // eslint-disable-next-line react-hooks/exhaustive-deps
  }, []);

  useEffect(() => {
    view.current?.dispatch({
      effects: attributes.current.reconfigure(
        EditorView.contentAttributes.of({
          'aria-label': label,
          'aria-description': describedBy,
          'aria-invalid': String(isInvalid),
        }),
      ),
    });
  }, [label, describedBy, isInvalid]);

  return <div ref={host} className="kavo-code" data-invalid={isInvalid} />;
}
