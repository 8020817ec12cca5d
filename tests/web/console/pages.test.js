// What holds for every page, whoever looks at it: valid HTML, no barrier that axe-core finds, on wide
// and narrow screens, light and dark, with the keyboard alone, and without scripts.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import {createRequire} from 'node:module';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {HtmlValidate} from 'html-validate';
import {launch, open, pages, post, reset, send, setItem} from './support.js';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const screenshots = process.env.QMV_SCREENSHOTS;
const wide = {width: 1280, height: 800};
const phone = {width: 360, height: 740};

let browser;
let page;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);
afterEach(async () => {
    await page?.check();
    page = undefined;
});

async function violations(tab) {
    await tab.evaluate(axe);  // in the page, past its content security policy
    const {violations: found} = await tab.evaluate(() => window.axe.run(document, {
        runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice']
    }));
    return found.flatMap(({id, nodes}) => nodes.map(({html}) => `${id}: ${html}`));
}

// Refuses something on every page that has a form, so that refusals and messages are looked at, too.
const faulty = {
    lan: {form: 'network', device_name: '<b>'},
    internet: {form: 'internet', ppp_user: 'a b'},
    vpn: {form: 'vpn', port: 'x'},
    certificates: {form: 'upload'},
    schedules: {form: 'wifi', wifi_on: '1', wifi_from: '25:00'},
    forwards: {form: 'row', name: '', version: 'none'},
    hosts: {form: 'hosts', text: 'no address'},
    account: {form: 'admin', admin_fresh: 'short'},
    maintenance: {form: 'alert', alert_number: 'x'}
};

describe('HTML', () => {
    const checker = new HtmlValidate({
        extends: ['html-validate:recommended'],
        rules: {
            // The library's own way of writing: no self-closing, attributes as the widgets print them.
            'void-style': ['error', {style: 'omit'}],
            'no-trailing-whitespace': 'off',
            // The texts of widgets are the library's: it leaves ">" and the like as entities.
            'no-raw-characters': ['error', {relaxed: true}],
            'long-title': 'off'
        }
    });

    async function faults({body}) {
        const {results} = await checker.validateString(body);
        return results.flatMap(({messages}) =>
            messages.map(({ruleId, message, line}) => `${ruleId}: ${message} in: ${body.split('\n')[line - 1]}`));
    }

    for (const name of pages)
        for (const user of ['admin', 'viewer'])
            test(`${name} for ${user} is valid`, async () => {
                assert.deepEqual(await faults(await send(`/${name}.cgi`, {user})), []);
            });

    for (const [name, fields] of Object.entries(faulty))
        test(`${name} with refusals is valid`, async () => {
            assert.deepEqual(await faults(await post(name, fields)), []);
        });

    for (const name of fs.readdirSync(new URL('../../../examples/console/static/errors', import.meta.url)))
        test(`the error page ${name} is valid`, async () => {
            assert.deepEqual(await faults(await send(`/errors/${name}`)), []);
        });
});

describe('axe-core finds nothing', () => {
    for (const [look, options] of Object.entries({
        'wide, light': {viewport: wide, colorScheme: 'light'},
        'wide, dark': {viewport: wide, colorScheme: 'dark'},
        'narrow, light': {viewport: phone, colorScheme: 'light'},
        'narrow, dark': {viewport: phone, colorScheme: 'dark'}
    })) {
        for (const name of pages)
            test(`on ${name}, ${look}`, async () => {
                page = await open(browser, options);
                await page.visit(name);
                assert.deepEqual(await violations(page.tab), []);
                if (screenshots)
                    await page.tab.screenshot({path: `${screenshots}/${name}, ${look}.png`, fullPage: true});
            });
    }

    for (const colorScheme of ['light', 'dark'])
        for (const name of pages)
            test(`on ${name} for a read-only user, ${colorScheme}`, async () => {
                page = await open(browser, {user: 'viewer', colorScheme});
                await page.visit(name);
                assert.deepEqual(await violations(page.tab), []);
            });

    const buttons = {lan: 'Save', internet: 'Save', vpn: 'Save', hosts: 'Save', forwards: 'Add'};
    const typed = '\u00AB \u00BB';  // no field takes it
    for (const [name, button] of Object.entries(buttons))
        for (const colorScheme of ['light', 'dark'])
            test(`on ${name} with refusals, ${colorScheme}`, async () => {
                page = await open(browser, {colorScheme});
                await page.visit(name);
                await page.tab.locator('main input[type=text], main textarea').first().fill(typed);
                await page.press(button);
                assert.notEqual((await page.refusals()).length, 0);
                assert.deepEqual(await violations(page.tab), []);
            });

    test('on a page with an open confirmation', async () => {
        page = await open(browser);
        await page.visit('certificates');
        await page.tab.locator('summary').click();
        assert.deepEqual(await violations(page.tab), []);
    });
});

describe('a narrow screen', () => {
    for (const name of pages)
        test(`shows all of ${name} without scrolling sideways`, async () => {
            setItem('lan/device_name', 'a'.repeat(32));
            page = await open(browser, {viewport: {width: 320, height: 640}});
            await page.visit(name);
            const {scrolled, inside} = await page.tab.evaluate(() => ({
                scrolled: document.documentElement.scrollWidth,
                inside: document.documentElement.clientWidth
            }));
            assert.equal(scrolled, inside);
        });
});

describe('the keyboard', () => {
    test('skips to the content, and the current page is marked', async () => {
        page = await open(browser);
        await page.visit('hosts');
        await page.tab.keyboard.press('Tab');
        assert.equal(await page.tab.locator(':focus').textContent(), 'Skip to the content');
        await page.tab.keyboard.press('Enter');
        await page.tab.keyboard.press('Tab');
        assert.equal(await page.tab.locator(':focus').getAttribute('name'), 'text');
        assert.equal(await page.tab.locator('[aria-current]').textContent(), 'Hosts');
    });

    test('reaches every control of every page, in the order of the page', async () => {
        page = await open(browser);
        for (const name of pages) {
            await page.visit(name);
            const wanted = await page.tab.evaluate(() => {
                const all = [...document.querySelectorAll('a, button, input, select, textarea, summary, [tabindex]')]
                    .filter((element) => !element.disabled && element.type !== 'hidden' && element.checkVisibility());
                all.forEach((element, i) => { element.dataset.order = i; });
                // The keyboard stops once at a group of radio buttons, at the one that is chosen.
                return all.filter((element) => element.type !== 'radio' || element.checked)
                    .map((element) => element.dataset.order);
            });
            const reached = [];
            for (let i = 0; i < wanted.length; ++i) {
                await page.tab.keyboard.press('Tab');
                reached.push(await page.tab.evaluate(() => document.activeElement.dataset.order));
            }
            assert.deepEqual(reached, wanted, name);
        }
    });

    test('a refusal takes the cursor to the first field that needs another look', async () => {
        page = await open(browser);
        await page.visit('lan');
        await page.field('Netmask').fill('1.2.3.4');
        await page.field('Hours until an address expires').fill('0');
        await page.press('Save');
        assert.equal(await page.tab.locator(':focus').getAttribute('name'), 'netmask');
    });
});

describe('without scripts', () => {
    for (const name of pages)
        test(`${name} is whole`, async () => {
            page = await open(browser, {javaScriptEnabled: false});
            await page.visit(name);
            assert.equal(await page.tab.locator('main h1').count(), 1);
            assert.notEqual(await page.tab.locator('main').innerText(), '');
        });

    test('a form is saved', async () => {
        page = await open(browser, {javaScriptEnabled: false});
        await page.visit('lan');
        await page.field('Device name').fill('plain');
        await page.press('Save');
        assert.equal((await page.messages())[0], 'Changed: Device name.');
    });
});

test('every link of every page leads to a page', async () => {
    page = await open(browser);
    const links = new Set();
    for (const name of pages) {
        await page.visit(name);
        for (const link of await page.tab.locator('[href], [src]').all()) {
            const address = await link.getAttribute('href') ?? await link.getAttribute('src');
            links.add(new URL(address, page.tab.url()).pathname);
        }
    }
    assert.ok(links.size > pages.length);
    for (const link of links)
        assert.equal((await send(link)).status, 200, link);
});
