// The state directory of the widgets' page: what its items hold, and what they hold later.
import fs from 'node:fs';
import path from 'node:path';
import {site, state} from '../support.js';

export const page = `${site}/widgets.cgi`;
const itemDirectory = path.join(state, 'items');
const certificates = path.join(state, 'certificates');
const longAgo = new Date('2001-02-03T04:05:06Z');

// The values of the items. A field that is not in this list has none.
export const values = {
    title: 'Widgets & "states"',
    text: 'Zoë & <co>',
    text_filtered: 'attic-2.lan',
    text_sized: 'sixteen letters!',
    text_disabled: 'not to change',
    text_readonly: 'only to read',
    text_hidden: 'hidden',
    text_not_displayed: 'not displayed',
    text_autocomplete_off: 'off',
    text_autocomplete_on: 'on',
    text_autocomplete_default: 'default',
    text_empty: '',
    text_unlimited: 'as long as it has to be, "whatever" <that> is',
    text_without_value: 'not shown',
    text_shown: '1 < 2 & "3" > 2',
    masked: 'masked',
    masked_data: '"masked" & data',
    password: 'change-me',
    password_data: '<secret> & "data"',
    password_sized: 'grün€',
    password_disabled: 'abc',
    password_readonly: 'read only',
    password_empty: '',
    select_number: '3',
    select_number_disabled: '1',
    select_number_hidden: '0',
    select_number_format: '4',
    option: 'own & <option>',
    select_text: 'a&b <"c">',
    select_text_printer: 'dhcp',
    select_text_empty: '',
    select_text_none: 'dhcp',
    select_text_own: 'other',
    record: 'r2',
    record_hidden: '"3" & <4>',
    certificate: 'a&b "c".pem',
    certificate_empty: '',
    certificate_nowhere: 'plain.pem',
    certificate_required: 'größe.pem',
    check_on: '1',
    check_off: '0',
    check_disabled: '1',
    check_empty: '',
    check_hidden: '1',
    radio: '1',
    radio_disabled: '2',
    radio_empty: '',
    radio_hidden: '0',
    radio_text: 'wan',
    image: 'An "icon" & <more>',
    button: 'Press & "go" >',
    number: '8080',
    number_readonly: '22',
    number_disabled: '443',
    number_hidden: '53',
    number_autocomplete_off: '123',
    number_empty: '',
    number_named: '65535',
    number_named_readonly: '7',
    number_named_disabled: '9',
    range: '1000-2000',
    range_single: '53',
    range_readonly: '5-10',
    range_disabled: '20-21',
    range_hidden: '1-2',
    range_low: '4',
    range_high: '3-9',
    range_none: '6-8',
    range_text: '<a> & "b"',
    time: '7:30',
    weekdays: '1,2,6',
    weekdays_all: '*',
    weekdays_none: '',
    ipv4: '192.168.1.1',
    ipv4_wide: '255.255.255.254',
    ipv4_unsized: '10.0.0.1',
    ipv4_disabled: '172.16.0.1',
    ipv4_readonly: '127.0.0.1',
    ipv4_hidden: '8.8.4.4',
    ipv4_named: '192.0.2.7',
    netmask: '255.255.255.0',
    cidr: '10.0.0.0/8',
    cidr_wide: '192.168.100.128/25',
    cidr_unsized: '0.0.0.0/0',
    cidr_disabled: '172.16.0.0/12',
    cidr_readonly: '127.0.0.0/8',
    cidr_named: '192.0.2.0/24',
    mac: '00-1A-2B-3C-4D-5E',
    mac_wide: 'FF-FF-FF-FF-FF-FF',
    mac_unsized: '02-00-00-00-00-01',
    mac_disabled: '01-02-03-04-05-06',
    mac_readonly: '0A-0B-0C-0D-0E-0F'
};

// The files of text areas, which are not items.
export const texts = {
    area: 'first line\n<second> & "third"\n',
    area_disabled: 'not to change\n',
    area_readonly: 'only to read',
    area_hidden: 'hidden',
    area_empty: ''
};

export const plainCertificates = [
    'a&b "c".pem', "it's.pem", '<b>bold.pem', 'größe.pem', '名前.pem', 'plain.pem'
];

const plainRecords = 'r1\nFirst & last\n\n# a comment\nr2\n<Second>\n\n"3" & <4>\nGröße 名前\n';

const bytesOf = (text) => Buffer.isBuffer(text) ? text : Buffer.from(text);
const newline = Buffer.from('\n');

// All items as files: the bytes of each.
export const initialFiles = () => ({
    ...Object.fromEntries(Object.entries(values).map(([name, value]) => [name, `${value}\n`])),
    ...texts
});

function writeFile(name, content) {
    const file = path.join(itemDirectory, name);
    fs.writeFileSync(file, content);
    fs.utimesSync(file, longAgo, longAgo);
}

export const writeItem = (name, value) =>
    writeFile(name, Buffer.concat([bytesOf(value), newline]));
export const writeText = writeFile;
export const writeRecords = (content) => fs.writeFileSync(path.join(state, 'records'), content);

export function writeCertificates(names) {
    fs.rmSync(certificates, {recursive: true, force: true});
    fs.mkdirSync(certificates);
    for (const name of names)
        fs.writeFileSync(Buffer.concat([bytesOf(`${certificates}/`), bytesOf(name)]), '');
}

export function resetState() {
    fs.rmSync(itemDirectory, {recursive: true, force: true});
    fs.mkdirSync(itemDirectory);
    for (const [name, content] of Object.entries(initialFiles()))
        writeFile(name, content);
    writeRecords(plainRecords);
    writeCertificates(plainCertificates);
}

export const readFile = (name) => fs.readFileSync(path.join(itemDirectory, name));

// All files as they are on disk.
export const files = () => Object.fromEntries(fs.readdirSync(itemDirectory).sort()
    .map((name) => [name, readFile(name).toString()]));

// The names of the files that were written since the state was reset.
export const writtenFiles = () => fs.readdirSync(itemDirectory).sort().filter(
    (name) => fs.statSync(path.join(itemDirectory, name)).mtimeMs !== longAgo.getTime());
