// What the page's fields show, and what is written when they are posted.
import {texts, values} from './state.js';

const hidden = {visibility: 'hidden'};
const disabled = {disabled: true};
const readOnly = {readOnly: true};
const checked = {checked: true};
const bullets = (count) => '\u2022'.repeat(count);

const text = (value, more) => ({type: 'text', value, ...more});
const box = (value, more) => text(value, {maxLength: 16, ...more});
const password = (count, more) =>
    ({type: 'password', value: bullets(count), maxLength: 16, autocomplete: 'off', ...more});
const area = (value, more) => ({type: 'textarea', value, ...more});
const check = (more) => ({type: 'checkbox', value: '1', ...more});
const day = (more) => ({type: 'checkbox', value: 'on', ...more});
const radio = (value, more) => ({type: 'radio', value, ...more});
const file = (more) => ({type: 'file', value: '', ...more});
const button = (more) => ({type: 'button', value: '', ...more});
const number = (value, more) => text(value, {maxLength: 5, ...more});
const namedNumber = (value, more) => text(value, {maxLength: 15, size: 5, ...more});
const range = (value, more) => text(value, {maxLength: 11, ...more});
const ipv4 = (value, more) => text(value, {maxLength: 15, size: 15, ...more});
const cidr = (value, more) => text(value, {maxLength: 18, size: 18, ...more});
const mac = (value, more) => text(value, {maxLength: 18, size: 18, ...more});

function without(name, field) {
    const rest = {...field};
    delete rest[name];
    return rest;
}

// A select box of which the options with these indexes are selected. The last one counts.
const select = (options, selected, more) => ({
    type: 'select-one', value: options[selected.at(-1)]?.[0] ?? '', options, selected, ...more
});

const speeds = [['0', 'Off'], ['1', '10 & up'], ['3', '<100>'], ['4', '"Auto"']];
const modes = [['dhcp', 'Automatic'], ['fixed', 'Fixed'], ['a&b <"c">', 'PPP & <Co.>']];
const numberedModes =
    [['dhcp', '1: Automatic'], ['fixed', '2: Fixed'], ['a&b <"c">', '3: PPP & <Co.>']];
const records = [['r1', 'First & last'], ['r2', '<Second>'], ['"3" & <4>', 'Größe 名前']];
const certificates = [
    ['PGI+Ym9sZC5wZW0=', '<b>bold.pem'], ['YSZiICJjIi5wZW0=', 'a&b "c".pem'],
    ['Z3LDtsOfZS5wZW0=', 'größe.pem'], ['aXQncy5wZW0=', "it's.pem"],
    ['cGxhaW4ucGVt', 'plain.pem'], ['5ZCN5YmNLnBlbQ==', '名前.pem']
];
const certificatesOrNone = [...certificates, ['', '(none)']];

const textBoxes = {
    text: box(values.text, {maxLength: 64}),
    text_filtered: box(values.text_filtered),
    text_sized: box(values.text_sized, {size: 16}),
    text_disabled: box(values.text_disabled, disabled),
    text_readonly: text(values.text_readonly, {size: 16, ...readOnly}),
    text_hidden: box(values.text_hidden, hidden),
    text_not_displayed: box(values.text_not_displayed, {display: 'none'}),
    text_autocomplete_off: box(values.text_autocomplete_off, {autocomplete: 'off'}),
    text_autocomplete_on: box(values.text_autocomplete_on, {autocomplete: 'on'}),
    text_autocomplete_default: box(values.text_autocomplete_default, {autocomplete: 'default'}),
    text_empty: box(''),
    text_missing: box('', disabled),
    text_unlimited: text(values.text_unlimited, {maxLength: 2147483647}),
    text_without_value: box('')
};

const passwords = {
    masked: box(bullets(6)),
    masked_data: box(bullets(15), {maxLength: 64, dataValue: values.masked_data}),
    password: password(9),
    password_data: password(17, {maxLength: 64, dataValue: values.password_data}),
    password_sized: password(5, {size: 16}),
    password_disabled: password(16, disabled),
    password_readonly: without('maxLength', password(9, readOnly)),
    password_empty: password(0),
    password_missing: password(16, disabled)
};

const areas = {
    area: area(texts.area),
    area_disabled: area(texts.area_disabled, disabled),
    area_readonly: area(texts.area_readonly, readOnly),
    area_hidden: area(texts.area_hidden, hidden),
    area_empty: area(''),
    area_missing: area('', disabled)
};

const selects = {
    select_number: select(speeds, [2]),
    select_number_disabled: select(speeds, [1], disabled),
    select_number_hidden: select(speeds, [0], hidden),
    select_number_missing: select(speeds, [0], disabled),
    select_number_without_state: select(speeds, [0], disabled),
    select_number_format: select(speeds, [3]),
    select_text: select(modes, [2]),
    select_text_printer: select(numberedModes, [0]),
    select_text_empty: select(modes, [1], disabled),
    select_text_missing: select(modes, [1], disabled),
    select_text_none: select([['', 'None'], ...modes], [0, 1]),
    select_text_own: select([[values.option, values.option], ['other', 'Other']], [1]),
    select_without_options: select([], [], disabled),
    record: select(records, [1]),
    record_missing: {...select(records, [], disabled), value: 'r1'},
    record_hidden: select(records, [2], hidden),
    certificate: select(certificatesOrNone, [1]),
    certificate_empty: select(certificatesOrNone, [6]),
    certificate_missing: select(certificatesOrNone, [6], disabled),
    certificate_nowhere: select([['', '(none)']], [0], disabled),
    certificate_required: select(certificates, [2], hidden)
};

const buttons = {
    check_on: check(checked),
    check_off: check(),
    check_disabled: check({...checked, ...disabled}),
    check_missing: check(disabled),
    check_empty: check(),
    check_hidden: check({...checked, ...hidden}),
    radio_0: radio('0'),
    radio_1: radio('1', checked),
    radio_2: radio('2'),
    radio_disabled_0: radio('0', disabled),
    radio_disabled_1: radio('1', disabled),
    radio_disabled_2: radio('2', {...checked, ...disabled}),
    radio_empty_0: radio('0'),
    radio_empty_1: radio('1'),
    radio_empty_2: radio('2'),
    radio_hidden_0: radio('0', {...checked, ...hidden}),
    radio_hidden_1: radio('1', hidden),
    radio_hidden_2: radio('2', hidden),
    radio_text_lan: radio('lan'),
    radio_text_wan: radio('wan', checked),
    radio_text_off: radio('off'),
    upload: file(),
    upload_disabled: file(disabled),
    upload_hidden: file(hidden),
    button: button(),
    button_disabled: button(disabled),
    button_hidden: button(hidden),
    button_not_displayed: button({display: 'none'}),
    submit_disabled: button({type: 'submit', ...disabled}),
    submit: button({type: 'submit'})
};

const numbers = {
    number: number('8080'),
    number_readonly: text('22', readOnly),
    number_disabled: number('443', disabled),
    number_hidden: number('53', hidden),
    number_autocomplete_off: number('123', {autocomplete: 'off'}),
    number_empty: number('80'),
    number_missing: number('80', disabled),
    number_named: namedNumber('65535'),
    number_named_readonly: namedNumber('7', readOnly),
    number_named_disabled: namedNumber('9', disabled),
    number_named_missing: namedNumber('80', disabled),
    number_without_item: number('4294967295', {size: 3}),
    range: range('1000-2000'),
    range_single: range('53'),
    range_readonly: text('5-10', readOnly),
    range_disabled: range('20-21', disabled),
    range_hidden: range('1-2', hidden),
    range_missing: range('1', disabled),
    range_low: range('4'),
    range_high: range('-9'),
    range_none: range('-'),
    range_text: range(values.range_text)
};

const schedules = {
    time: text('7:30', {maxLength: 5}),
    ...Object.fromEntries(['mon', 'tue', 'wed', 'thu', 'fri', 'sat', 'sun'].flatMap((name) => [
        [`weekdays_${name}`, day(['mon', 'tue', 'sat'].includes(name) ? checked : {})],
        [`weekdays_all_${name}`, day(checked)], [`weekdays_none_${name}`, day()]
    ]))
};

const addresses = {
    ipv4: ipv4('192.168.1.1'),
    ipv4_wide: ipv4('255.255.255.254', {size: 20}),
    ipv4_unsized: without('size', ipv4('10.0.0.1')),
    ipv4_disabled: ipv4('172.16.0.1', disabled),
    ipv4_readonly: ipv4('127.0.0.1', readOnly),
    ipv4_hidden: ipv4('8.8.4.4', hidden),
    ipv4_missing: ipv4('0.0.0.0', disabled),
    ipv4_named: ipv4('192.0.2.7'),
    ipv4_none: ipv4(''),
    netmask: ipv4('255.255.255.0'),
    cidr: cidr('10.0.0.0/8'),
    cidr_wide: cidr('192.168.100.128/25', {size: 24}),
    cidr_unsized: without('size', cidr('0.0.0.0/0')),
    cidr_disabled: cidr('172.16.0.0/12', disabled),
    cidr_readonly: cidr('127.0.0.0/8', readOnly),
    cidr_missing: cidr('0.0.0.0/0', disabled),
    cidr_named: cidr('192.0.2.0/24'),
    mac: mac('00-1A-2B-3C-4D-5E'),
    mac_wide: mac('FF-FF-FF-FF-FF-FF', {size: 24}),
    mac_unsized: without('size', mac('02-00-00-00-00-01')),
    mac_disabled: mac('01-02-03-04-05-06', disabled),
    mac_readonly: without('maxLength', mac('0A-0B-0C-0D-0E-0F', readOnly)),
    mac_missing: mac('00-00-00-00-00-00', disabled),
    mac_none: mac('')
};

export const shown = {
    ...textBoxes, ...passwords, ...areas, ...selects, ...buttons, ...numbers, ...schedules,
    ...addresses
};

// The files that a form changes that is posted as it was shown: fields of which an item that is
// empty cannot be told from a default, and ranges that are shown without their lower end.
export const untouched = {
    check_empty: '0\n',
    number_empty: '80\n',
    range_high: '1\n',
    range_none: '1\n'
};

// For each field what is entered, and what its file then holds when that is something else.
const entries = {
    text: ['Ünï "x" <y> & €'],
    text_filtered: ['new_name!.lan', 'newname.lan\n'],
    text_sized: ['1234567890123456'],
    text_hidden: ['now'],
    text_not_displayed: ['now'],
    text_autocomplete_off: ['now off'],
    text_autocomplete_on: ['now on'],
    text_autocomplete_default: ['now default'],
    text_empty: ['filled'],
    text_unlimited: ['"long" '.repeat(100)],
    text_without_value: ['a value'],
    masked: ['fresh mask'],
    masked_data: ['<fresh> "data"'],
    password: ['n3w&secret'],
    password_data: ['<n3w> & "data"'],
    password_sized: ['größer €'],
    password_empty: ['first'],
    area: ['new\n\n"text" <b>\n& end', 'new\n\n"text" <b>\n& end'],
    area_hidden: ['', ''],
    area_empty: ['filled\n', 'filled\n'],
    select_number: ['1'],
    select_number_hidden: ['4'],
    select_number_format: ['0'],
    select_text: ['fixed'],
    select_text_printer: ['a&b <"c">'],
    select_text_none: ['fixed'],
    select_text_own: [values.option],
    record: ['"3" & <4>'],
    record_hidden: ['r1'],
    certificate: ['5ZCN5YmNLnBlbQ==', '名前.pem\n'],
    certificate_empty: ['aXQncy5wZW0=', "it's.pem\n"],
    certificate_required: ['PGI+Ym9sZC5wZW0=', '<b>bold.pem\n'],
    check_on: [false, '0\n'],
    check_off: [true, '1\n'],
    check_empty: [true, '1\n'],
    check_hidden: [false, '0\n'],
    number: ['70000', '65535\n'],
    number_hidden: ['0', '1\n'],
    number_autocomplete_off: ['none', '80\n'],
    number_empty: ['81'],
    number_named: [' 12 apples', '12\n'],
    range: ['300-200', '200-300\n'],
    range_single: ['7:9', '7-9\n'],
    range_hidden: ['99999 - 5', '5-65535\n'],
    range_low: ['5'],
    range_high: ['-5', '1\n'],
    range_none: ['6'],
    range_text: ['>all< & "x"'],
    time: ['23:75', '0:15\n'],
    ipv4: ['10.1.2.3'],
    ipv4_wide: ['255.255.255.255', '0.0.0.0\n'],
    ipv4_unsized: ['no address', '0.0.0.0\n'],
    ipv4_hidden: ['1.2.3.4'],
    ipv4_named: ['192.0.2.8'],
    netmask: ['255.255.0.255', '255.255.0.0\n'],
    cidr: ['10.1.2.3/16', '10.1.0.0/16\n'],
    cidr_wide: ['1.2.3.4', '1.2.3.4/32\n'],
    cidr_unsized: ['172.16.5.4/99', '172.16.5.4/32\n'],
    cidr_named: ['192.168.1.7/24', '192.168.1.0/24\n'],
    mac: ['001a2b3c4d5f', '00-1A-2B-3C-4D-5F\n'],
    mac_wide: ['0:1:2:3:4:5', '00-01-02-03-04-05\n'],
    mac_unsized: ['11:22', '11-22-00-00-00-00\n']
};

// Radio buttons and weekdays, of which several fields make up one item.
const buttonsToPress = {
    radio_2: true, radio_empty_0: true, radio_hidden_1: true, radio_text_off: true,
    weekdays_mon: false, weekdays_wed: true, weekdays_all_sun: false, weekdays_none_mon: true,
    weekdays_none_tue: true, weekdays_none_wed: true, weekdays_none_thu: true,
    weekdays_none_fri: true, weekdays_none_sat: true, weekdays_none_sun: true
};

export const changed = {
    input: {
        ...Object.fromEntries(Object.entries(entries).map(([name, [input]]) => [name, input])),
        ...buttonsToPress
    },
    files: {
        ...Object.fromEntries(Object.entries(entries).map(
            ([name, [input, content]]) => [name, content ?? `${input}\n`])),
        radio: '2\n',
        radio_empty: '0\n',
        radio_hidden: '1\n',
        radio_text: 'off\n',
        weekdays: '2,3,6\n',
        weekdays_all: '1,2,3,4,5,6\n',
        weekdays_none: '*\n'
    }
};
