// Texts that want to break out of every widget that escapes: the document has them as the same
// text, as far as the library keeps it.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {
    readFile, resetState, writeCertificates, writeItem, writeRecords, writeText
} from './state.js';
import {printed, typed} from './texts.js';
import {assertNoProblems, change, closeBrowser, load, openBrowser, submit, tab} from './tab.js';

const items = [
    'title', 'text', 'text_unlimited', 'masked_data', 'password_data', 'text_shown', 'option',
    'select_text_own', 'image', 'button', 'range_text', 'password'
];

// A file name that holds the text: it begins like a name and has no slash.
const fileName = (bytes) =>
    Buffer.concat([Buffer.from('x'), Buffer.from(bytes.filter((byte) => byte !== 0x2F))]);

function store(bytes) {
    for (const name of items)
        writeItem(name, bytes);
    writeText('area', bytes);
    const end = bytes.indexOf('\n');
    const line = end < 0 ? bytes : bytes.subarray(0, end);
    writeRecords(Buffer.concat(['x', line, '\ny', line, '\n'].map((part) => Buffer.from(part))));
    writeCertificates([fileName(bytes)]);
}

// The text as each widget shows it.
const readTexts = () => tab.evaluate(() => {
    const element = (id) => document.getElementById(id);
    const content = (id) => element(id).textContent;
    const record = document.getElementsByName('record')[0].options[0];
    const own = element('select_text_own').options[0];
    return {
        title: document.querySelector('title').textContent,
        text: element('text').value,
        text_unlimited: element('text_unlimited').value,
        masked_data: element('masked_data').dataset.value,
        password_data: element('password_data').dataset.value,
        password: element('password').value,
        text_shown: content('text_shown'),
        area: element('area').value,
        option_value: own.value,
        option_label: own.textContent,
        record_value: record.value,
        record_label: record.textContent,
        certificate_label: element('certificate').options[0].textContent,
        image: element('image').alt,
        button: content('button'),
        submit: content('submit'),
        range_text: element('range_text').value
    };
});

// `value` where a widget ends a text at its first malformed sequence, `text` where it leaves such
// sequences out; see texts.js.
const expectedTexts = ({text, value, area, label, bullets}) => ({
    title: text,
    text: value,
    text_unlimited: value,
    masked_data: value,
    password_data: value,
    password: '\u2022'.repeat(Math.min(bullets, 16)),
    text_shown: text,
    area,
    option_value: text,
    option_label: text,
    record_value: `x${value}`,
    record_label: `y${text}`,
    certificate_label: `x${label.replaceAll('/', '')}`,
    image: value,
    button: text,
    submit: text,
    range_text: value
});

const tagCounts = () => tab.evaluate(() => {
    const counts = {};
    for (const {localName, attributes} of document.querySelectorAll('*'))
        counts[localName] = (counts[localName] ?? 0) + attributes.length + 1;
    return counts;
});

describe('hostile texts', () => {
    before(openBrowser);
    after(closeBrowser);
    beforeEach(resetState);
    afterEach(assertNoProblems);

    test('make neither elements nor attributes', async () => {
        store(Buffer.from('harmless'));
        await load();
        const counts = await tagCounts();
        for (const row of printed.filter(({text}) => text !== '')) {
            store(row.bytes);
            await load();
            assert.deepEqual(await tagCounts(), counts, row.name);
        }
    });

    for (const row of printed) {
        test(`are shown as text: ${row.name}`, async () => {
            store(row.bytes);
            await load();
            assert.deepEqual(await readTexts(), expectedTexts(row));
        });
    }

    for (const row of typed) {
        test(`are stored as they were typed: ${row.name}`, async () => {
            await load();
            const boxes = ['text', 'text_unlimited', 'masked_data', 'password_data'];
            await change(Object.fromEntries([...boxes, 'area'].map((name) => [name, row.input])));
            await submit();
            for (const name of boxes)
                assert.equal(readFile(name).toString(), `${row.stored}\n`, name);
            assert.deepEqual(readFile('area'), row.area);
            assert.equal(await tab.locator('#text').inputValue(), row.shown);
            assert.equal(await tab.locator('#area').inputValue(), row.shownArea);
        });
    }

    test('are options that can be posted', async () => {
        for (const row of printed.filter(({valid}) => valid)) {
            resetState();
            store(row.bytes);
            writeItem('select_text_own', 'other');
            await load();
            await change({select_text_own: row.text, record: `x${row.value}`});
            await submit();
            assert.equal(readFile('select_text_own').toString(), `${row.text}\n`, row.name);
            assert.equal(readFile('record').toString(), `x${row.value}\n`, row.name);
        }
    });

    test('are certificates that can be posted, whatever bytes their names have', async () => {
        for (const row of printed) {
            store(row.bytes);
            await load();
            await tab.locator('#certificate').selectOption({index: 0});
            await submit();
            const name = Buffer.concat([fileName(row.bytes), Buffer.from('\n')]);
            assert.deepEqual(readFile('certificate'), name, row.name);
        }
    });
});
