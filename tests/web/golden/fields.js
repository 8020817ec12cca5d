// Every field as the browser has it, compared with the items; and what is written when the form is
// posted, untouched and changed.
import assert from 'node:assert/strict';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {changed, shown, untouched} from './expected.js';
import {
    files, initialFiles, page, plainCertificates, readFile, resetState, values, writeItem,
    writtenFiles
} from './state.js';
import {assertNoProblems, change, closeBrowser, load, openBrowser, submit, tab} from './tab.js';

// What the document says about each field. What is absent or as usual is left out.
const readFields = () => tab.evaluate(() => {
    const describeField = (field) => {
        const all = {
            type: field.type,
            value: field.value,
            checked: field.checked || undefined,
            disabled: field.disabled || undefined,
            readOnly: field.readOnly || undefined,
            maxLength: field.maxLength >= 0 ? field.maxLength : undefined,
            size: field.hasAttribute('size') ? field.size : undefined,
            display: field.style.display || undefined,
            visibility: field.style.visibility || undefined,
            autocomplete: field.getAttribute('autocomplete') ?? undefined,
            dataValue: field.dataset.value,
            options: field.options && [...field.options].map((o) => [o.value, o.textContent]),
            selected: field.options &&
                [...field.options].flatMap((o, i) => o.hasAttribute('selected') ? [i] : [])
        };
        return Object.fromEntries(Object.entries(all).filter(([, value]) => value !== undefined));
    };
    const fields = [...document.querySelectorAll('input, select, textarea, button')];
    return Object.fromEntries(fields.map((f) => [f.id || f.name, describeField(f)]));
});

const filesWith = (contents) => ({...initialFiles(), ...contents});
const sorted = (object) => Object.fromEntries(Object.entries(object).sort());
const differing = (contents) => Object.entries(filesWith(contents))
    .filter(([name, content]) => content !== initialFiles()[name]).map(([name]) => name).sort();

describe('the fields', () => {
    before(openBrowser);
    after(closeBrowser);
    beforeEach(async () => {
        resetState();
        await load();
    });
    afterEach(assertNoProblems);

    test('have their types, values and states', async () => {
        const read = await readFields();
        for (const name of new Set([...Object.keys(read), ...Object.keys(shown)]))
            assert.deepEqual(read[name], shown[name], name);
    });

    test('have names and ids of their own', async () => {
        const ids = await tab.evaluate(
            () => [...document.querySelectorAll('[id]')].map((element) => element.id));
        assert.equal(new Set(ids).size, ids.length);
        assert.equal(await tab.title(), values.title);
        assert.equal(await tab.locator('#text_shown').textContent(), values.text_shown);
        assert.equal(await tab.locator('#image').getAttribute('alt'), values.image);
        assert.ok(await tab.locator('#image').evaluate((image) => image.naturalWidth > 0));
        for (const button of await tab.locator('button').all())
            assert.equal(await button.textContent(), values.button);
        assert.equal(await tab.locator('#button img').count(), 1);
    });

    test('that are hidden are not seen, the others are', async () => {
        const seen = await tab.evaluate(() => {
            const fields = [...document.querySelectorAll('input, select, textarea')];
            return fields.map(
                (f) => [f.id || f.name, f.checkVisibility({visibilityProperty: true})]);
        });
        for (const [name, visible] of seen) {
            const {display, visibility} = shown[name];
            assert.equal(visible, display === undefined && visibility === undefined, name);
        }
    });

    test('that are posted untouched leave their items alone', async () => {
        await submit();
        assert.deepEqual(files(), sorted(filesWith(untouched)));
        assert.deepEqual(writtenFiles(), differing(untouched));
    });

    test('that are changed are written, byte by byte, and shown', async () => {
        await change(changed.input);
        const posted = await submit();
        for (const [name, value] of Object.entries(changed.input)) {
            const sent = typeof value === 'string' ? value.replaceAll('\n', '\r\n') : undefined;
            if (sent !== undefined)
                assert.equal(posted.get(name), sent, name);
        }
        assert.deepEqual(files(), sorted(filesWith(changed.files)));
        assert.deepEqual(writtenFiles(), differing(changed.files));
        await assertShown(changed.files);
    });

    test('that are disabled or missing are not posted, and read-only ones are', async () => {
        const posted = await submit();
        const nameless = ['ipv4_none', 'mac_none'];
        for (const [name, field] of Object.entries(shown)) {
            if (['text', 'textarea', 'password', 'select-one'].includes(field.type))
                assert.equal(posted.has(name), !field.disabled && !nameless.includes(name), name);
        }
    });

    test('take a forged post only where they have an item', async () => {
        const forged = Object.keys(shown).filter((name) => /_missing$|_nowhere$/.test(name));
        assert.ok(forged.length >= 10);
        const body = new URLSearchParams(forged.map((name) => [name, '10.0.0.7']));
        assert.equal((await fetch(page, {method: 'POST', body})).status, 200);
        assert.deepEqual(Object.keys(files()), Object.keys(initialFiles()).sort());
    });

    test('of every certificate lead to its file', async () => {
        for (const file of plainCertificates) {
            writeItem('certificate', '');
            await load();
            await tab.locator('#certificate').selectOption({label: file});
            await submit();
            assert.equal(readFile('certificate').toString(), `${file}\n`);
            assert.equal(await tab.locator('#certificate option:checked').textContent(), file);
        }
        await tab.locator('#certificate').selectOption({label: '(none)'});
        await submit();
        assert.equal(readFile('certificate').toString(), '\n');
    });

    test('look as they should', async () => {
        const directory = process.env.QMV_SCREENSHOTS;
        if (directory)
            await tab.screenshot({path: path.join(directory, 'widgets.png'), fullPage: true});
        assert.ok(await tab.evaluate(
            () => document.documentElement.scrollWidth <= window.innerWidth));
    });
});

// Text boxes that do not show the whole of their items.
const shownOtherwise =
    ['masked', 'masked_data', 'text_without_value', 'range_high', 'range_none'];

// Every box of text shows what its item holds now.
async function assertShown(contents) {
    const read = await readFields();
    for (const [name, content] of Object.entries(contents)) {
        const field = read[name];
        if (field?.type === 'textarea')
            assert.equal(field.value, content, name);
        else if (field?.type === 'text' && !shownOtherwise.includes(name))
            assert.equal(`${field.value}\n`, content, name);
        else if (field?.type === 'password')
            assert.equal(field.value, '\u2022'.repeat([...content].length - 1), name);
    }
}
