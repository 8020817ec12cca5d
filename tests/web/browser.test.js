// The pages of the example programs as a browser shows them. A dialog, an error on the console or an
// uncaught exception fails the test in which it happens.
import assert from 'node:assert/strict';
import {randomBytes} from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {chromium} from 'playwright-core';
import {hostile} from './hostile.js';
import {
    eventually, items, itemsWith, page as address, resetState, state, stored, storedFiles, work
} from './support.js';

const screenshots = process.env.QMV_SCREENSHOTS;
const bullets = (count) => '\u2022'.repeat(count);

let browser;
let context;
let tab;
let problems;

async function openTab(options = {}) {
    context = await browser.newContext(options);
    tab = await context.newPage();
    problems = [];
    tab.on('dialog', (dialog) => {
        problems.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    tab.on('pageerror', (error) => problems.push(`exception: ${error}`));
    tab.on('console', (message) => {
        if (message.type() === 'error')
            problems.push(`console: ${message.text()}`);
    });
    await tab.goto(address);
}

const box = (label) => tab.getByLabel(label, {exact: true});
const save = () => Promise.all([tab.waitForEvent('load'), tab.getByText('Save').click()]);
const messages = () => tab.locator('#messages p').allTextContents();

async function upload(files) {
    await tab.setInputFiles('#files', files);
    await tab.getByText('Upload', {exact: true}).click();
    await tab.locator('#messages p').filter({hasText: /stored|refused/}).first().waitFor();
}

async function takeScreenshot(name) {
    if (screenshots)
        await tab.screenshot({path: path.join(screenshots, `${name}.png`), fullPage: true});
}

before(async () => {
    browser = await chromium.launch({
        executablePath: '/usr/bin/chromium',
        args: [
            '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
            '--disable-background-networking', '--disable-component-update', '--disable-sync'
        ]
    });
});
after(() => browser.close());

beforeEach(async () => {
    resetState();
    await openTab();
});
afterEach(async () => {
    await context.close();
    assert.deepEqual(problems, []);
});

describe('settings', () => {
    test('are shown with a label and a hint for each box', async () => {
        assert.equal(await tab.title(), 'Device settings');
        assert.equal(await tab.evaluate(() => document.compatMode), 'CSS1Compat');
        assert.equal(await box('Device name').inputValue(), 'router');
        assert.equal(await box('User name').inputValue(), 'admin');
        assert.equal(await box('Password').inputValue(), bullets('change-me'.length));
        for (const label of ['Device name', 'User name', 'Password']) {
            const hint = await box(label).getAttribute('aria-describedby');
            assert.notEqual(await tab.locator(`#${hint}`).textContent(), '');
        }
    });

    test('that are typed are stored and shown again', async () => {
        await box('Device name').fill('attic-2');
        await box('User name').fill('Zoë "the admin" <zoe> €');
        await box('Password').fill('n3w&secret');
        await save();
        assert.deepEqual(await messages(), [
            'Device name was changed.', 'User name was changed.', 'Password was changed.'
        ]);
        assert.deepEqual(items(), itemsWith({
            device_name: 'attic-2', user_name: 'Zoë "the admin" <zoe> €', password: 'n3w&secret'
        }));
        await tab.goto(address);
        assert.equal(await box('Device name').inputValue(), 'attic-2');
        assert.equal(await box('User name').inputValue(), 'Zoë "the admin" <zoe> €');
        assert.equal(await box('Password').inputValue(), bullets('n3w&secret'.length));
        assert.deepEqual(await messages(), []);
    });

    test('that are saved untouched stay, the password too', async () => {
        await save();
        assert.deepEqual(await messages(), [
            'Device name stays as it was.', 'User name stays as it was.',
            'Password stays as it was.'
        ]);
        assert.deepEqual(items(), itemsWith({}));
    });

    test('keep the password when something is typed behind its bullets', async () => {
        await box('Password').press('End');
        await box('Password').pressSequentially('more');
        await save();
        assert.match((await messages())[2], /^Password was not changed\./);
        assert.deepEqual(items(), itemsWith({}));
    });

    test('never show the password in the page', async () => {
        fs.writeFileSync(path.join(state, 'password'), 'S3cr3t-0ne\n');
        await tab.reload();
        assert.ok(!(await tab.content()).includes('S3cr3t-0ne'));
        assert.equal(await box('Password').getAttribute('type'), 'password');
    });

    test('that are refused are explained', async () => {
        await box('Device name').fill('-my router!');
        await box('User name').fill('smile \u{1F600}');
        await box('Password').fill('with blank');
        await save();
        const [name, user, password] = await messages();
        assert.match(name, /^Device name was changed\. Some characters were left out\./);
        assert.match(user, /^User name was not changed\. Use 1 to 64 characters, no emoji\.$/);
        assert.match(password, /^Password was not changed\. ASCII/);
        assert.deepEqual(items(), itemsWith({device_name: 'myrouter'}));
        await takeScreenshot('refused');
    });

    test('must not be empty, and the browser says so', async () => {
        await box('User name').fill('');
        await tab.getByText('Save').click();
        assert.ok(await box('User name').evaluate((input) => input.validity.valueMissing));
        assert.deepEqual(items(), itemsWith({}));
    });

    test('cannot be typed longer than their limit', async () => {
        await box('Device name').fill('');
        await box('Device name').pressSequentially('a'.repeat(40));
        assert.equal((await box('Device name').inputValue()).length, 32);
    });

    test('of a missing item are disabled, and the others are stored', async () => {
        fs.unlinkSync(path.join(state, 'password'));
        await tab.reload();
        assert.ok(await box('Password').isDisabled());
        assert.equal(await box('Password').inputValue(), bullets(64));
        await takeScreenshot('disabled');
        await box('User name').fill('still');
        await save();
        assert.deepEqual(await messages(), ['Device name stays as it was.', 'User name was changed.']);
        assert.ok(!fs.existsSync(path.join(state, 'password')));
    });

    for (const value of hostile) {
        test(`with the value ${JSON.stringify(value)} show it as text`, async () => {
            await box('User name').fill(value);
            await save();
            assert.deepEqual((await messages())[1], 'User name was changed.');
            assert.equal(items().user_name, `${value}\n`);
            assert.equal(await box('User name').inputValue(), value);
            // Each box shows what its item holds, however it came there.
            for (const name of ['device_name', 'password'])
                fs.writeFileSync(path.join(state, name), `${value}\n`);
            await tab.goto(address);
            assert.equal(await box('Device name').inputValue(), value.slice(0, 32));
            assert.equal(await box('Password').inputValue(), bullets(value.length));
            assert.equal(await tab.locator('input').count(), 4);
            assert.equal(await tab.locator('script').count(), 1);
        });
    }
});

describe('uploads', () => {
    test('show how far they are and store the file', async () => {
        const content = randomBytes(8 << 20);
        const file = path.join(work, 'firmware.bin');
        fs.writeFileSync(file, content);
        const network = await context.newCDPSession(tab);
        await network.send('Network.enable');
        await network.send('Network.emulateNetworkConditions', {
            offline: false, latency: 0, downloadThroughput: -1, uploadThroughput: 8 << 20
        });
        await tab.evaluate(() => {
            window.seen = [];
            const bar = document.querySelector('progress');
            new MutationObserver(() => window.seen.push(bar.offsetWidth > 0 ? bar.value : -1))
                .observe(bar, {attributes: true});
        });
        await tab.setInputFiles('#files', file);
        await tab.getByText('Upload', {exact: true}).click();
        await tab.waitForFunction(() => window.seen.some((value) => value > 0 && value < 100));
        await takeScreenshot('progress');
        await tab.locator('#messages p').first().waitFor();
        assert.ok(await tab.locator('#progress').isHidden());
        assert.deepEqual(await messages(),
            [`firmware.bin was stored as firmware.bin, ${content.length} bytes.`]);
        const seen = (await tab.evaluate(() => window.seen)).filter((value) => value >= 0);
        assert.deepEqual(seen, [...seen].sort((a, b) => a - b));
        assert.equal(seen.at(-1), 100);
        assert.ok(stored('firmware.bin').equals(content));
    });

    test('can be sent one after the other, without loading the page again', async () => {
        await upload({name: 'a.txt', mimeType: 'text/plain', buffer: Buffer.from('first')});
        assert.deepEqual(await messages(), ['a.txt was stored as a.txt, 5 bytes.']);
        await tab.setInputFiles('#files',
            {name: 'b.txt', mimeType: 'text/plain', buffer: Buffer.alloc(0)});
        await tab.getByText('Upload', {exact: true}).click();
        await tab.getByText('b.txt was stored as b.txt, 0 bytes.').waitFor();
        assert.deepEqual(storedFiles(), ['a.txt', 'b.txt']);
    });

    test('take several files', async () => {
        await upload(['one', 'two', 'three'].map((name) => ({
            name: `${name}.txt`, mimeType: 'text/plain', buffer: Buffer.from(name)
        })));
        assert.equal((await messages()).length, 3);
        assert.deepEqual(storedFiles(), ['one.txt', 'three.txt', 'two.txt']);
        assert.equal(stored('two.txt').toString(), 'two');
    });

    test('that are cancelled leave nothing behind', async () => {
        const file = path.join(work, 'big.bin');
        fs.writeFileSync(file, randomBytes(8 << 20));
        const network = await context.newCDPSession(tab);
        await network.send('Network.enable');
        await network.send('Network.emulateNetworkConditions', {
            offline: false, latency: 0, downloadThroughput: -1, uploadThroughput: 1 << 20
        });
        await tab.setInputFiles('#files', file);
        await tab.getByText('Upload', {exact: true}).click();
        await tab.waitForFunction(() => document.querySelector('progress').value > 0);
        await tab.getByText('Cancel').click();
        await tab.getByText('The upload was cancelled.').waitFor();
        assert.ok(await tab.getByText('Upload', {exact: true}).isEnabled());
        assert.ok(await tab.locator('#progress').isHidden());
        await eventually('the request body is gone',
            () => !fs.readdirSync(work).some((name) => name.startsWith('lighttpd-upload')));
        assert.deepEqual(storedFiles(), []);
    });

    test('keep what was typed in the other form', async () => {
        await box('User name').fill('half typed');
        await upload({name: 'a.txt', mimeType: 'text/plain', buffer: Buffer.from('x')});
        assert.deepEqual(await messages(), ['a.txt was stored as a.txt, 1 bytes.']);
        assert.equal(await box('User name').inputValue(), 'half typed');
        assert.equal(await tab.locator('#files').inputValue(), '');
    });

    test('that the server refuses are explained', async () => {
        await tab.route(address, (route) =>
            route.fulfill({status: 413, contentType: 'text/html', body: 'too large'}));
        await upload({name: 'a.txt', mimeType: 'text/plain', buffer: Buffer.from('x')});
        assert.deepEqual(await messages(), ['The device refused the upload (413).']);
        assert.equal(await tab.locator('#files').inputValue(), 'C:\\fakepath\\a.txt');
        // The browser reports the status itself.
        problems = problems.filter((problem) => !/status of 413/.test(problem));
    });

    for (const value of hostile) {
        const name = value.replaceAll('/', '\u2215').replaceAll('\0', '');
        test(`of a file named ${JSON.stringify(name)} show its name as text`, async () => {
            await upload({name, mimeType: 'text/plain', buffer: Buffer.from('content')});
            const [message] = await messages();
            // Browsers send a quote as %22.
            assert.ok(message.startsWith(`${name.replaceAll('"', '%22')} was stored as `), message);
            assert.equal(storedFiles().length, 1);
            assert.match(storedFiles()[0], /^\w[\w.-]*$/);
            assert.equal(await tab.locator('script').count(), 1);
        });
    }
});

describe('without scripts', () => {
    beforeEach(async () => {
        await context.close();
        await openTab({javaScriptEnabled: false});
    });

    test('settings and uploads work as well', async () => {
        await box('User name').fill('plain');
        await save();
        assert.equal((await messages())[1], 'User name was changed.');
        assert.ok(await tab.locator('#progress').isHidden());
        await upload({name: '<b>.txt', mimeType: 'text/plain', buffer: Buffer.from('content')});
        assert.deepEqual(await messages(), ['<b>.txt was stored as b.txt, 7 bytes.']);
        assert.equal(stored('b.txt').toString(), 'content');
    });
});

describe('the look', () => {
    const looks = {
        'light': {colorScheme: 'light', viewport: {width: 1100, height: 800}},
        'dark': {colorScheme: 'dark', viewport: {width: 1100, height: 800}},
        'phone': {colorScheme: 'light', viewport: {width: 360, height: 740}},
        'phone-dark': {colorScheme: 'dark', viewport: {width: 320, height: 640}}
    };
    for (const [name, options] of Object.entries(looks)) {
        test(`fits its window: ${name}`, async () => {
            await context.close();
            await openTab(options);
            await box('User name').fill('x'.repeat(64));
            await box('Password').fill('with blank');
            await save();
            await takeScreenshot(name);
            assert.ok(await tab.evaluate(
                () => document.documentElement.scrollWidth <= window.innerWidth));
            const back = await tab.evaluate(() => getComputedStyle(document.body).backgroundColor);
            const brightness = back.match(/\d+/g).slice(0, 3).reduce((sum, c) => sum + Number(c), 0);
            assert.equal(brightness < 384, options.colorScheme === 'dark');
            await upload({
                name: `${'long-name-'.repeat(20)}.bin`, mimeType: 'text/plain',
                buffer: Buffer.from('content')
            });
            assert.ok(await tab.locator('#messages').evaluate(
                (element) => element.getBoundingClientRect().top >= 0));
            await takeScreenshot(`${name}-uploaded`);
            assert.ok(await tab.evaluate(
                () => document.documentElement.scrollWidth <= window.innerWidth));
        });
    }
});
