import { Checkbox, Radio } from '@patternfly/react-core';
import type { RecycleExtra } from '../api/types';
import { useTexts } from '../texts';
import { CleanFields } from './clean_fields';
import type { AppFieldsProps } from './extra_fields';
import { Field } from './field';
import { KeepFields } from './keep_fields';
import { Section } from './section';
import { useShares } from './use_shares';

type RecycleProps = AppFieldsProps<RecycleExtra>;

/** All shares, or some of them; a stored name that is no share any more can be taken out. */
function ShareFields({ extra, faults, onChange }: RecycleProps) {
  const { t } = useTexts();
  const shares = useShares();
  const policy = extra.clean_share_policy;
  const chosen = policy.shares ?? [];
  const gone = chosen.filter((name) => shares && !shares.some((share) => share.name === name));
  const change = (part: Partial<typeof policy>) =>
    onChange({ ...extra, clean_share_policy: { ...policy, ...part } });
  const choose = (name: string, isChosen: boolean) =>
    change({ shares: isChosen ? [...chosen, name] : chosen.filter((each) => each !== name) });
  const all = [
    ...(shares ?? []).map(({ name, recycle_bin: bin }) => ({
      name,
      note: bin ? '' : 'share_no_bin',
    })),
    ...gone.map((name) => ({ name, note: 'share_gone' })),
  ];
  return (
    <Field id="shares" label={t('shares')} group="group" fault={faults.shares}>
      <Radio
        id="shares-all"
        name="shares"
        label={t('shares_all')}
        isChecked={policy.clean_all}
        onChange={() => change({ clean_all: true })}
      />
      <Radio
        id="shares-some"
        name="shares"
        label={t('shares_some')}
        isChecked={!policy.clean_all}
        onChange={() => change({ clean_all: false })}
      />
      {!policy.clean_all && (
        <div className="kavo-choices">
          {all.map(({ name, note }) => (
            <Checkbox
              key={name}
              id={`share-${name}`}
              label={<bdi>{name}</bdi>}
              {...(note ? { description: t(note) } : {})}
              isChecked={chosen.includes(name)}
              onChange={(_, isChosen) => choose(name, isChosen)}
            />
          ))}
          {shares && all.length === 0 && <p className="kavo-hint">{t('shares_none')}</p>}
        </div>
      )}
    </Field>
  );
}

/** The wish to switch recycle bins on, which is only sent: it is done once, on saving. */
function EnableBins({ extra, onChange }: Omit<RecycleProps, 'faults'>) {
  const { t } = useTexts();
  const { enableRecycle: wish, ...rest } = extra;
  const all = extra.clean_share_policy.clean_all;
  const set = (on: boolean, home: boolean) => {
    const next = all ? (home ? 'all_include_home' : 'all') : 'select';
    onChange(on ? { ...rest, enableRecycle: next } : rest);
  };
  return (
    <>
      <Checkbox
        id="enable-bins"
        label={t(all ? 'enable_bins_all' : 'enable_bins_some')}
        description={t('enable_bins_hint')}
        isChecked={wish !== undefined}
        onChange={(_, on) => set(on, false)}
      />
      {wish !== undefined && all && (
        <Checkbox
          id="enable-bins-home"
          label={t('enable_bins_home')}
          isChecked={wish === 'all_include_home'}
          onChange={(_, home) => set(true, home)}
        />
      )}
    </>
  );
}

// The wish follows the choice of shares, for which it has a word of its own.
function withFittingWish(extra: RecycleExtra): RecycleExtra {
  const { enableRecycle: wish } = extra;
  if (wish === undefined) return extra;
  const all = extra.clean_share_policy.clean_all;
  if (all && wish === 'select') return { ...extra, enableRecycle: 'all' };
  return all || wish === 'select' ? extra : { ...extra, enableRecycle: 'select' };
}

export function RecycleFields({ extra, faults, onChange }: RecycleProps) {
  const { t } = useTexts();
  const props = {
    extra,
    faults,
    onChange: (next: RecycleExtra) => onChange(withFittingWish(next)),
  };
  return (
    <Section title={t('section_recycle')}>
      <ShareFields {...props} />
      <CleanFields {...props} />
      <KeepFields {...props} />
      <EnableBins {...props} />
    </Section>
  );
}
