import { Checkbox, Label, Radio, SearchInput } from '@patternfly/react-core';
import { useState } from 'react';
import type { Service, ServiceExtra } from '../api/types';
import { serviceName } from '../helpers/services';
import { useTexts } from '../texts';
import type { AppFieldsProps } from './extra_fields';
import { Field } from './field';
import { Section } from './section';

/** The services and packages whose name holds the search, each with a box to choose it. */
function Choices({ extra, onChange }: Pick<AppFieldsProps<ServiceExtra>, 'extra' | 'onChange'>) {
  const texts = useTexts();
  const { t } = texts;
  const [search, setSearch] = useState('');
  const wanted = search.trim().toLowerCase();
  const found = extra.services.filter((service) =>
    `${serviceName(service, texts)} ${service.id}`.toLowerCase().includes(wanted),
  );
  const choose = (chosen: Service, enable: boolean) =>
    onChange({
      ...extra,
      services: extra.services.map((each) => (each === chosen ? { ...each, enable } : each)),
    });
  return (
    <>
      <SearchInput
        aria-label={t('search_services')}
        placeholder={t('search_services')}
        resetButtonLabel={t('clear_search')}
        value={search}
        onChange={(_, value) => setSearch(value)}
        onClear={() => setSearch('')}
      />
      <div className="kavo-choices">
        {found.map((service) => (
          <Checkbox
            key={`${service.type} ${service.id}`}
            id={`service-${service.type}-${service.id}`}
            isChecked={service.enable}
            onChange={(_, enable) => choose(service, enable)}
            label={
              <>
                <bdi>{serviceName(service, texts)}</bdi>{' '}
                {service.type === 'package' && <Label isCompact>{t('package')}</Label>}
              </>
            }
          />
        ))}
        {found.length === 0 && <p className="kavo-hint">{t('nothing_found')}</p>}
      </div>
    </>
  );
}

export function ServiceFields({ extra, onChange }: AppFieldsProps<ServiceExtra>) {
  const { t, count } = useTexts();
  const chosen = extra.services.filter(({ enable }) => enable).length;
  return (
    <Section title={t('section_service')}>
      <Field id="service-action" label={t('service_action')} group="radiogroup">
        {(['start', 'stop'] as const).map((action) => (
          <Radio
            key={action}
            id={`service-${action}`}
            name="service-action"
            label={t(`service_${action}`)}
            isChecked={extra.action === action}
            onChange={() => onChange({ ...extra, action })}
          />
        ))}
      </Field>
      <Field
        id="services"
        label={t('services')}
        group="group"
        hint={chosen === 0 ? t('services_none') : count('chosen', chosen)}
      >
        <Choices extra={extra} onChange={onChange} />
      </Field>
    </Section>
  );
}
