// Hostile texts in every text field of every page: they are shown as text, nothing of them is carried
// out, and what is stored is what was typed.
import assert from 'node:assert/strict';
import {after, before, beforeEach, describe, test} from 'node:test';
import {hostile} from '../hostile.js';
import {launch, open, pages, reset, send, snapshot} from './support.js';

const withText = pages.filter((name) => name !== 'overview' && name !== 'certificates');
const textFields = 'input[type=text], input[type=password], textarea';

let browser;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);

// What a page consists of, besides messages and refusals: a text that became markup changes it.
const elements = (tab) => tab.evaluate(() =>
    [...document.querySelectorAll('*')].filter((element) => !element.closest('#messages, .error, pre'))
        .map((element) => element.localName).join(' '));

// The forms of a page that have text fields.
async function formsOf(page, name) {
    await page.visit(name);
    return page.tab.locator('form[id]').filter({has: page.tab.locator(textFields)})
        .evaluateAll((forms) => forms.map((form) => form.id));
}

// What the boxes of a form hold, by name, without the passwords: a box takes no more than fits.
const values = (tab, form) => tab.locator(`#${form}`).locator('input[type=text], textarea')
    .evaluateAll((boxes) => boxes.map(({name, value}) => [name, value]));

for (const [index, text] of hostile.entries())
    describe(`text ${index + 1}: ${text}`, () => {
        test('in all fields of each form at once', async () => {
            const page = await open(browser);
            for (const name of withText)
                for (const form of await formsOf(page, name)) {
                    await page.visit(name);
                    const before = await elements(page.tab);
                    for (const box of await page.tab.locator(`#${form}`).locator(textFields).all())
                        await box.fill(text);
                    const typed = await values(page.tab, form);
                    const state = snapshot();
                    await Promise.all([
                        page.tab.waitForEvent('load'),
                        page.tab.locator(`#${form} button.primary`).click()
                    ]);
                    const where = `${name}, ${form}`;
                    assert.equal(await elements(page.tab), before, where);
                    assert.notEqual((await page.refusals()).length, 0, where);
                    assert.deepEqual(snapshot(), state, where);
                    assert.deepEqual(await values(page.tab, form), typed, where);
                    for (const secret of await page.tab.locator('input[type=password]').all())
                        assert.doesNotMatch(await secret.inputValue(), /[^\u2022]/, where);
                }
            await page.check();
        });

        test('in one field at a time', async () => {
            const page = await open(browser);
            for (const name of withText)
                for (const form of await formsOf(page, name)) {
                    const boxes = page.tab.locator(`#${form}`).locator(textFields);
                    const fields = await boxes.evaluateAll((all) =>
                        all.filter((box) => box.type !== 'password').map((box) => box.name));
                    const body = await page.tab.locator(`#${form}`).evaluate((element) =>
                        [...new FormData(element)].filter(([, value]) => typeof value === 'string'));
                    for (const field of fields)
                        await oneField(page, name, body, field);
                }
            await page.check();

            // Sends the form with one text replaced. When the text was stored, every page is shown.
            async function oneField(page, name, body, field) {
                const fields = new URLSearchParams(body);
                fields.set(field, text);
                const state = snapshot();
                const answer = await send(`/${name}.cgi`, {
                    method: 'POST',
                    headers: {'Content-Type': 'application/x-www-form-urlencoded'},
                    body: fields.toString()
                });
                const changed = JSON.stringify(snapshot()) !== JSON.stringify(state);
                assert.equal(answer.status, 200);
                assert.equal(changed, !answer.body.includes('class="error"'), `${name}, ${field}`);
                if (!changed)
                    return;
                await page.visit(name);
                // A user name without a domain gets that of the provider.
                const kept = field === 'ppp_user' && !text.includes('@') ? `${text}@dsl.example` : text;
                assert.equal(await page.tab.locator(`[name=${field}]`).inputValue(), kept);
                for (const other of pages)
                    await page.visit(other);
                assert.equal((await send('/export.cgi')).status, 200);
                reset();
            }
        });
    });
