// The maintenance page: firmware uploads, the configuration as a file, the log, the name service, the
// alert by text message.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {randomBytes} from 'node:crypto';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import zlib from 'node:zlib';
import {boundary, eventually, multipart} from '../support.js';
import {
    filePart, item, launch, list, messagesOf, open, post, postFile, postParts, refusalsOf, reset, send,
    setItem, site, snapshot, state, stored, port, textPart, token
} from './support.js';

const work = process.env.QMV_WORK;
const mebi = 1 << 20;
const noProcess = 99_999_999;  // more than any process has

let browser;
let page;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);

// Opens the page for each test of a group, and fails one in which the browser saw an error.
function inBrowser(options) {
    beforeEach(async () => {
        page = await open(browser, options);
        await page.visit('maintenance');
    });
    afterEach(() => page.check());
}

// The CRC-32 that most programs compute, in eight digits.
function crcOf(bytes) {
    let crc = zlib.crc32?.(bytes);
    if (crc === undefined) {
        crc = 0xFFFFFFFF;
        for (const byte of bytes) {
            crc ^= byte;
            for (let bit = 0; bit < 8; ++bit)
                crc = crc & 1 ? (crc >>> 1) ^ 0xEDB88320 : crc >>> 1;
        }
        crc = ~crc >>> 0;
    }
    return crc.toString(16).toUpperCase().padStart(8, '0');
}

const image = () => fs.readFileSync(path.join(state, 'firmware/image.bin'));
const uploaded = () => [list('uploads'), list('firmware')];
const storedMessage = (bytes) =>
    `Stored: a firmware image of ${bytes.length} bytes, CRC-32 ${crcOf(bytes)}.`;

// Files that the web server keeps of requests.
const serverFiles = () => fs.readdirSync(work).filter((name) => name.startsWith('lighttpd-upload'));

async function limitUploads(bytesPerSecond) {
    const network = await page.context.newCDPSession(page.tab);
    await network.send('Network.enable');
    await network.send('Network.emulateNetworkConditions', {
        offline: false, latency: 0, downloadThroughput: -1, uploadThroughput: bytesPerSecond
    });
}

// Chooses a file of so many bytes, and sends it. Playwright hands over large ones as files only.
async function upload(bytes) {
    const file = path.join(work, 'chosen.bin');
    fs.writeFileSync(file, bytes);
    await page.tab.setInputFiles('#image', file);
    await page.tab.locator('#firmware').getByRole('button', {name: 'Upload', exact: true}).click();
}

const progress = () => page.tab.getByRole('progressbar', {name: 'Upload', exact: true});
const outcome = () => page.tab.locator('#messages p, .error').first().waitFor();

describe('a firmware image', () => {
    inBrowser();

    test('is there none yet', async () => {
        assert.equal(await page.tab.locator('#stored-image').textContent(), 'No image is stored.');
    });

    test('is uploaded while its progress is shown', async () => {
        const bytes = randomBytes(8 * mebi);
        await limitUploads(4 * mebi);
        await page.tab.evaluate(() => {
            window.seen = [];
            new MutationObserver((changes) => {
                for (const {target} of changes)
                    window.seen.push([target.value, target.nextSibling.textContent]);
            }).observe(document.body, {subtree: true, attributes: true, attributeFilter: ['value']});
        });
        await upload(bytes);
        // Three values that differ, while the upload still runs.
        await page.tab.waitForFunction(() => {
            const values = window.seen.map(([value]) => value).filter((value) => value > 0 && value < 100);
            return new Set(values).size >= 3;
        });
        assert.ok(await progress().isVisible());
        assert.ok(await page.tab.locator('#firmware button[type="submit"]').isDisabled());
        await outcome();
        assert.deepEqual(await page.messages(), [storedMessage(bytes)]);
        assert.equal(await page.tab.locator('#stored-image').textContent(),
            `Stored image: 8192\u00a0KiB (8388608 bytes), CRC-32 ${crcOf(bytes)}.`);
        assert.equal(await progress().count(), 0);
        assert.ok(await page.tab.locator('#firmware button[type="submit"]').isEnabled());
        const seen = await page.tab.evaluate(() => window.seen);
        const values = seen.map(([value]) => value);
        assert.deepEqual(values, [...values].sort((a, b) => a - b));
        assert.deepEqual(seen.at(-1), [100, '100 %']);
        assert.ok(image().equals(bytes));
        assert.deepEqual([item('firmware/size'), item('firmware/crc')], ['8388608\n', `${crcOf(bytes)}\n`]);
        assert.deepEqual(uploaded(), [[], ['image.bin']]);
        assert.match(stored('log'), /Maintenance: stored a firmware image \(admin\)\n$/);
    });

    test('is still shown after a reload, to the read-only user too', async () => {
        await upload(Buffer.from('123456789'));
        await outcome();
        // The check value that is known of this CRC.
        assert.deepEqual(await page.messages(), ['Stored: a firmware image of 9 bytes, CRC-32 CBF43926.']);
        for (const user of ['admin', 'viewer'])
            assert.match((await send('/maintenance.cgi', {user})).body, /\(9 bytes\), CRC-32 CBF43926\./);
    });

    test('is replaced by the next one', async () => {
        await upload(randomBytes(3000));
        await outcome();
        const bytes = randomBytes(1000);
        await upload(bytes);
        await page.tab.getByText(storedMessage(bytes)).waitFor();
        assert.ok(image().equals(bytes));
        assert.deepEqual(uploaded(), [[], ['image.bin']]);
    });

    test('is cancelled, and nothing is left behind', async () => {
        await limitUploads(mebi);
        await upload(randomBytes(8 * mebi));
        await page.tab.waitForFunction(() => document.querySelector('progress')?.value > 0);
        await page.tab.getByRole('button', {name: 'Cancel', exact: true}).click();
        await page.tab.getByText('The upload was cancelled.').waitFor();
        assert.deepEqual(await page.messages(), ['The upload was cancelled.']);
        assert.equal(await progress().count(), 0);
        assert.ok(await page.tab.locator('#firmware button[type="submit"]').isEnabled());
        await eventually('the request body is gone', () => serverFiles().length === 0);
        assert.deepEqual(uploaded(), [[], []]);
        assert.equal(item('firmware/size'), '0\n');
    });

    test('can be sent after one that was cancelled', async () => {
        await limitUploads(mebi);
        await upload(randomBytes(4 * mebi));
        await page.tab.waitForFunction(() => document.querySelector('progress')?.value > 0);
        await page.tab.getByRole('button', {name: 'Cancel', exact: true}).click();
        await page.tab.getByText('The upload was cancelled.').waitFor();
        const bytes = randomBytes(5000);
        await upload(bytes);
        await page.tab.getByText(storedMessage(bytes)).waitFor();
        assert.ok(image().equals(bytes));
    });

    test('that is empty is refused, and the stored one stays', async () => {
        const bytes = randomBytes(1000);
        await upload(bytes);
        await outcome();
        const before = snapshot();
        await upload(Buffer.alloc(0));
        await page.tab.locator('.error').waitFor();
        assert.deepEqual(await page.refusals(), ['image: The file is empty.']);
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(list('uploads'), []);
    });

    test('that is a little too large is refused', async () => {
        const before = snapshot();
        await upload(Buffer.alloc(32 * mebi + 1));
        await outcome();
        assert.deepEqual(await page.refusals(), ['image: The file is larger than 32768 KiB.']);
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(uploaded(), [[], []]);
    });

    test('that is too large for the page is refused', async () => {
        const before = snapshot();
        await upload(Buffer.alloc(34 * mebi));
        await outcome();
        assert.deepEqual(await page.messages(), [
            'What was sent is too large: this page takes up to 32768 KiB. Nothing was changed.'
        ]);
        assert.deepEqual(snapshot(), before);
        // The browser reports the status itself.
        assert.match(page.problems.pop(), /status of 413/);
    });

    test('must be chosen, and the browser says so', async () => {
        await page.tab.locator('#firmware').getByRole('button', {name: 'Upload', exact: true}).click();
        assert.ok(await page.tab.locator('#image').evaluate((input) => input.validity.valueMissing));
        assert.deepEqual(await page.messages(), []);
    });
});

describe('a firmware image without scripts', () => {
    inBrowser({javaScriptEnabled: false});

    test('is stored', async () => {
        const bytes = randomBytes(2 * mebi + 7);
        await Promise.all([page.tab.waitForEvent('load'), upload(bytes)]);
        assert.deepEqual(await page.messages(), [storedMessage(bytes)]);
        assert.ok(image().equals(bytes));
        assert.deepEqual(uploaded(), [[], ['image.bin']]);
    });

    test('is refused when it is empty', async () => {
        await Promise.all([page.tab.waitForEvent('load'), upload(Buffer.alloc(0))]);
        assert.deepEqual(await page.refusals(), ['image: The file is empty.']);
        assert.deepEqual(uploaded(), [[], []]);
    });
});

const imagePart = (bytes, name = 'image.bin') => filePart('image', name, bytes);

test('an upload whose form is refused behind the file leaves nothing behind', async () => {
    const before = snapshot();
    const answer = await postParts('maintenance', [
        textPart('token', await token()), textPart('form', 'firmware'), imagePart('x'),
        textPart('more', 'y'.repeat(5000))
    ]);
    assert.equal(answer.status, 400);
    assert.deepEqual(list('uploads'), []);
    assert.deepEqual(snapshot(), before);
});

describe('an upload byte by byte', () => {
    test('takes 32 MiB and stores every byte', async () => {
        const bytes = randomBytes(32 * mebi);
        const answer = await postFile('maintenance', 'firmware', imagePart(bytes));
        assert.match(messagesOf(answer)[0],
            /^good: Stored: a firmware image of 33554432 bytes, CRC-32 [0-9A-F]{8}\.$/);
        assert.ok(image().equals(bytes));
        assert.deepEqual(uploaded(), [[], ['image.bin']]);
    });

    test('stores what looks like the end of a form', async () => {
        const bytes = Buffer.from(
            `\0\xFF\r\n--\r\n--${boundary.slice(0, -1)}\r\n\r\r\n-\r\n--x\n--${boundary}`, 'latin1');
        const answer = await postFile('maintenance', 'firmware', imagePart(bytes));
        assert.deepEqual(messagesOf(answer), [`good: ${storedMessage(bytes)}`]);
        assert.ok(image().equals(bytes));
    });

    for (const name of ['../../items/lan/address', '.part-1', '$(touch pwned)', '<b>'])
        test(`does not care about the name "${name}"`, async () => {
            const before = item('lan/address');
            const answer = await postFile('maintenance', 'firmware', imagePart('abc', name));
            assert.deepEqual(messagesOf(answer), [`good: ${storedMessage(Buffer.from('abc'))}`]);
            assert.deepEqual(uploaded(), [[], ['image.bin']]);
            assert.equal(item('lan/address'), before);
        });

    test('stores the first of two files', async () => {
        const parts = [textPart('token', await token()), textPart('form', 'firmware'), imagePart('first'),
            imagePart('second')];
        await postParts('maintenance', parts);
        assert.equal(image().toString(), 'first');
        assert.deepEqual(uploaded(), [[], ['image.bin']]);
    });

    const refusedWithToken = [
        ['a file without a name', [imagePart('abc', '')], 'Choose a file first.'],
        ['no file', [], 'Choose a file first.'],
        ['a text in place of the file', [textPart('image', 'abc')], 'Choose a file first.']
    ];
    for (const [what, parts, why] of refusedWithToken)
        test(`refuses ${what}`, async () => {
            const before = snapshot();
            const answer = await postParts('maintenance',
                [textPart('token', await token()), textPart('form', 'firmware'), ...parts]);
            assert.deepEqual(refusalsOf(answer), [`image: ${why}`]);
            assert.deepEqual(messagesOf(answer),
                ['bad: Nothing was changed: 1 field needs another look. See below.']);
            assert.deepEqual(snapshot(), before);
            assert.deepEqual(uploaded(), [[], []]);
        });

    test('refuses a file whose form ends before it', async () => {
        const before = snapshot();
        const whole = multipart(textPart('token', await token()), textPart('form', 'firmware'),
            imagePart('x'.repeat(100_000)));
        const answer = await send('/maintenance.cgi', {
            method: 'POST',
            headers: {'Content-Type': `multipart/form-data; boundary=${boundary}`},
            body: whole.subarray(0, 50_000)
        });
        assert.deepEqual(refusalsOf(answer), ['image: The file was cut off on its way. Send it again.']);
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(uploaded(), [[], []]);
    });

    const withoutToken = [
        ['without a token', () => [textPart('form', 'firmware'), imagePart('abc')]],
        ['with a wrong token', () => [textPart('token', '$1$abcdefgh$0123456789012345678901'),
            textPart('form', 'firmware'), imagePart('abc')]],
        ['with a token that is a file', (valid) => [filePart('token', 'token', valid),
            textPart('form', 'firmware'), imagePart('abc')]]
    ];
    for (const [what, parts] of withoutToken)
        test(`is forbidden ${what}`, async () => {
            const before = snapshot();
            const answer = await postParts('maintenance', parts(await token()));
            assert.equal(answer.status, 403);
            assert.deepEqual(messagesOf(answer), [
                'bad: The form is not one of this console, or of another user, or older than the ' +
                'password. Nothing was changed. Open the page again and repeat the change.'
            ]);
            assert.deepEqual(snapshot(), before);
            assert.deepEqual(uploaded(), [[], []]);
        });

    test('stores no file that comes before its token: it was skipped', async () => {
        const before = snapshot();
        const answer = await postParts('maintenance',
            [textPart('form', 'firmware'), imagePart('abc'), textPart('token', await token())]);
        assert.deepEqual(refusalsOf(answer), ['image: Choose a file first.']);
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(uploaded(), [[], []]);
    });

    test('is forbidden for the read-only user', async () => {
        const before = snapshot();
        const answer = await postFile('maintenance', 'firmware', imagePart('abc'), {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.deepEqual(messagesOf(answer),
            ['bad: You may look at this page, but not change anything here.']);
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(uploaded(), [[], []]);
    });

    // Begins an upload of so many bytes; the answer resolves when the server has closed.
    async function begin(length, body = '') {
        const socket = net.connect(port, '127.0.0.1');
        const chunks = [];
        socket.on('error', () => {});
        socket.on('data', (chunk) => chunks.push(chunk));
        const answer = new Promise((resolve) =>
            socket.once('close', () => resolve(Buffer.concat(chunks).toString())));
        await new Promise((resolve) => socket.once('connect', resolve));
        socket.write('POST /maintenance.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n' +
            `Authorization: Basic ${Buffer.from('admin:admin').toString('base64')}\r\n` +
            `Content-Type: multipart/form-data; boundary=${boundary}\r\nContent-Length: ${length}\r\n\r\n`);
        await new Promise((resolve) => socket.write(body, resolve));
        return {socket, answer};
    }

    test('of more than the web server takes is answered by its own page', async () => {
        const before = snapshot();
        const {answer} = await begin(65 * mebi);
        const text = await answer;
        assert.match(text, /^HTTP\/1\.1 413 /);
        assert.match(text, /<h1>Too large<\/h1>\n<p>What was sent is larger than 64 MiB/);
        assert.deepEqual(snapshot(), before);
    });

    test('whose connection is closed half-way leaves nothing behind', async () => {
        const before = snapshot();
        const whole = multipart(textPart('token', await token()), textPart('form', 'firmware'),
            imagePart(randomBytes(4 * mebi)));
        const {socket} = await begin(whole.length, whole.subarray(0, 2 * mebi));
        await eventually('the web server has begun to read', () => serverFiles().length > 0);
        socket.destroy();
        await eventually('the request body is gone', () => serverFiles().length === 0);
        await eventually('no part of it is left', () => list('uploads').length === 0);
        assert.deepEqual(list('firmware'), []);
        assert.deepEqual(snapshot(), before);
    });

    test('of which a killed process left a part is cleaned up by the next visit', async () => {
        const names = [`.part-${noProcess}`, `.part-${process.pid}`, 'other'];
        for (const name of names)
            fs.writeFileSync(path.join(state, 'uploads', name), 'left');
        await send('/maintenance.cgi');
        assert.deepEqual(list('uploads'), [`.part-${process.pid}`, 'other'].sort());
        fs.writeFileSync(path.join(state, 'uploads', names[0]), 'left');
        await send('/certificates.cgi', {user: 'viewer'});
        assert.deepEqual(list('uploads'), [`.part-${process.pid}`, 'other'].sort());
    });
});

// ---- The configuration ----

const xpath = (xml, expression) =>
    execFileSync('xmllint', ['--xpath', expression, '-'], {input: xml}).toString().replace(/\n$/, '');
const check = (xml) => execFileSync('xmllint', ['--noout', '-'], {input: xml, stdio: 'pipe'});

describe('the configuration', () => {
    inBrowser();

    // The accounts are passwords; the firmware's items say what was uploaded, and are no settings.
    const groups = () => list('items').filter((group) => !['accounts', 'firmware'].includes(group));

    // The document as it is: a string would have lost what is no UTF-8.
    async function exported() {
        const headers = {Authorization: `Basic ${Buffer.from('admin:admin').toString('base64')}`};
        return Buffer.from(await (await fetch(`${site}/export.cgi`, {headers})).arrayBuffer());
    }

    function writeForward(name, protocol) {
        const fields = [name, protocol, '1', '80', '80', '192.168.1.20', '8080'];
        fs.writeFileSync(path.join(state, 'forwards.db'), `${fields.join('\n')}\n\n`);
    }

    test('is downloaded from the page', async () => {
        const [download] = await Promise.all([
            page.tab.waitForEvent('download'), page.tab.getByRole('link', {name: 'Download'}).click()
        ]);
        assert.equal(download.suggestedFilename(), 'configuration.xml');
        check(fs.readFileSync(await download.path()));
    });

    test('is well-formed and holds every item but the passwords', async () => {
        const answer = await send('/export.cgi');
        assert.equal(answer.status, 200);
        assert.equal(answer.headers['content-type'], 'application/xml; charset=utf-8');
        check(answer.body);
        for (const group of groups()) {
            const names = list(`items/${group}`).filter((name) => name !== 'ppp_password');
            assert.equal(xpath(answer.body, `count(/configuration/${group}/*)`), String(names.length), group);
            for (const name of names)
                assert.equal(`${xpath(answer.body, `string(/configuration/${group}/${name})`)}\n`,
                    item(`${group}/${name}`), `${group}/${name}`);
        }
        assert.equal(xpath(answer.body, 'string(/configuration/hosts)'), stored('files/hosts'));
        assert.equal(xpath(answer.body, 'count(/configuration/forwards/forward)'), '3');
    });

    test('holds no password and no key', async () => {
        setItem('accounts/admin', 'passwordOfAdmin');
        setItem('accounts/viewer', 'passwordOfViewer');
        const {body} = await send('/export.cgi');
        for (const word of ['secret', 'password', 'passwordOf', 'PRIVATE', stored('secret'), '$1$'])
            assert.ok(!body.includes(word), word);
    });

    test('holds hostile texts as texts', async () => {
        const hostile = '</hosts><!-- ]]> <?x?> &amp; &#0; " \' <![CDATA[ \u00e9\u20ac ${x} %s';
        for (const name of ['lan/device_name', 'internet/ppp_user', 'maintenance/alert_text', 'vpn/remote'])
            setItem(name, hostile);
        fs.writeFileSync(path.join(state, 'files/hosts'), `# ${hostile}\n\t${hostile}\n`);
        writeForward(hostile.slice(0, 30), 'tcp');
        const {body} = await send('/export.cgi');
        check(body);
        for (const name of ['lan/device_name', 'internet/ppp_user', 'maintenance/alert_text', 'vpn/remote'])
            assert.equal(xpath(body, `string(/configuration/${name})`), hostile, name);
        assert.equal(xpath(body, 'string(/configuration/hosts)'), `# ${hostile}\n\t${hostile}\n`);
        assert.equal(xpath(body, 'string(/configuration/forwards/forward)'), hostile.slice(0, 30));
    });

    test('holds a hostile protocol as an attribute', async () => {
        writeForward('Web', '"<&');
        const {body} = await send('/export.cgi');
        check(body);
        assert.equal(xpath(body, 'string(/configuration/forwards/forward/@protocol)'), '"<&');
    });

    test('is well-formed although a name was cut inside a character', async () => {
        writeForward(`${'a'.repeat(31)}\u20ac`, 'tcp');
        check(await exported());
    });

    // A comment may hold anything that the page takes.
    for (const text of ['# a\x02b', '# a\x0Bb', '# a\x7Fb', '# a\uFFFEb\uFFFF', '# \u0085\u2028',
        '# \u{1F600}', '# ]]>', '# <!--'])
        test(`is well-formed after ${JSON.stringify(text)} was sent to the Hosts page`, async () => {
            await post('hosts', {form: 'hosts', text});
            check(await exported());
        });

    for (const [what, bytes] of [
        ['bytes that are no UTF-8', 'a\xFFb\xC3'], ['a control character', 'a\x7Fb\x1Bc']
    ])
        test(`is well-formed although an item holds ${what}`, async () => {
            fs.writeFileSync(path.join(state, 'items/lan/device_name'), Buffer.from(`${bytes}\n`, 'latin1'));
            check(await exported());
        });

    test('is for the administrator only', async () => {
        const answer = await send('/export.cgi', {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.deepEqual(messagesOf(answer), ['bad: Only the administrator may export the configuration.']);
        assert.ok(!answer.body.includes('customer@dsl.example'));
        assert.ok(!(await send('/maintenance.cgi', {user: 'viewer'})).body.includes('export.cgi'));
    });
});

describe('the log', () => {
    inBrowser();

    const lines = () => page.tab.locator('#log pre').textContent();
    afterEach(() => fs.rmSync(path.join(state, 'log.old'), {force: true}));

    test('says that nothing happened yet', async () => {
        assert.equal(await lines(), 'Nothing happened yet.\n');
    });

    test('shows its last 40 lines', async () => {
        const all = Array.from({length: 50}, (_, i) => `2026-01-01 00:00:00 Line ${i}\n`);
        fs.writeFileSync(path.join(state, 'log'), all.join(''));
        await page.visit('maintenance');
        assert.equal(await lines(), all.slice(-40).join(''));
    });

    test('is text', async () => {
        const hostile = '</pre><img src=x onerror=alert(1)><script>alert(1)</script> &amp; "\' %s $(id)\n';
        fs.writeFileSync(path.join(state, 'log'), hostile.repeat(2));
        await page.visit('maintenance');
        assert.equal(await lines(), hostile.repeat(2));
        assert.equal(await page.tab.locator('main img, main script').count(), 0);
    });

    test('is not for the read-only user', async () => {
        fs.writeFileSync(path.join(state, 'log'), 'what happened\n');
        const {body} = await send('/maintenance.cgi', {user: 'viewer'});
        assert.ok(!body.includes('what happened'));
        assert.ok(!body.includes('id="log"'));
    });

    test('is put aside when it is full', async () => {
        fs.writeFileSync(path.join(state, 'log'), 'x'.repeat(64 * 1024));
        await post('maintenance', {form: 'alert', alert_number: '', alert_text: 'Down.'});
        assert.ok(!fs.existsSync(path.join(state, 'log')));
        assert.match(stored('log.old'), /Maintenance: changed Text message \(admin\)\n$/);
        fs.writeFileSync(path.join(state, 'log'), 'A new one\n');
        await page.visit('maintenance');
        assert.match(await lines(), /Maintenance: changed Text message \(admin\)\nA new one\n$/);
    });
});

describe('the name service', () => {
    inBrowser();

    const running = () => page.tab.locator('#service p').textContent();
    const pidFile = path.join(state, 'run/names.pid');
    let pid;

    beforeEach(() => {
        pid = fs.readFileSync(pidFile);
    });
    afterEach(() => fs.writeFileSync(pidFile, pid));

    test('gets the signal to restart', async () => {
        assert.equal(await running(), 'It runs.');
        await page.press('Restart');
        assert.deepEqual(await page.messages(), ['The name service was asked to restart.']);
        await eventually('the service has restarted',
            () => /^[-0-9]+ [:0-9]+ Name service: restarted$/m.test(stored('log')));
        assert.match(stored('log'), /^[-0-9]+ [:0-9]+ Maintenance: restarted the name service \(admin\)$/m);
        await page.visit('maintenance');
        assert.equal(await running(), 'It runs.');
    });

    for (const number of [String(noProcess), '', '0', '-1', 'names', '4294967295'])
        test(`does not run when its number is "${number}"`, async () => {
            fs.writeFileSync(pidFile, `${number}\n`);
            await page.visit('maintenance');
            assert.equal(await running(), 'It does not run.');
            await page.press('Restart');
            assert.deepEqual(await page.messages(),
                ['The name service could not be restarted: it does not run.']);
            assert.equal(stored('log'), '');
        });

    test('is restarted by the administrator only', async () => {
        const answer = await post('maintenance', {form: 'service'}, {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.equal(stored('log'), '');
    });
});

// ---- The alert ----

const longest = 160;
const counted = (count) => `${count} of ${longest} characters`;

describe('the alert by text message', () => {
    inBrowser();

    const count = (text) => page.tab.locator('#count').filter({hasText: text}).waitFor();

    test('shows what is stored', async () => {
        assert.equal(await page.field('Telephone number').inputValue(), '');
        assert.equal(await page.field('Text message').inputValue(), 'The line is down.');
        assert.equal(await page.tab.locator('#count').textContent(), counted(17));
    });

    test('counts the characters while they are typed', async () => {
        const box = page.field('Text message');
        await box.fill('');
        await count(/^0 of 160 characters$/);
        for (const [typed, sum] of [['a', 1], ['{', 3], ['[', 5], ['\u20ac', 7], ['@', 8], ['\u00e9', 9],
            ['\\', 11], ['"', 12], ['&', 13], ['#', 14], ['+', 15], ['%41', 18]]) {
            await box.pressSequentially(typed);
            await count(new RegExp(`^${sum} of 160 characters$`));
        }
    });

    test('names characters that cannot be sent', async () => {
        // Emoji are unknown to the device: it cannot name them.
        for (const [foreign, named] of [['\u3042', '\u3042'], ['`', '`'], ['\u201c', '\u201c'],
            ['\u0142', '\u0142'], ['\u{1F600}', '\uFFFD']]) {
            await page.field('Text message').fill(`Hi ${foreign}{`);
            await page.tab.locator('#count').filter({hasText: 'cannot be sent'}).waitFor();
            assert.equal(await page.tab.locator('#count').textContent(),
                `${counted(5)}; ${named} cannot be sent`);
            await page.field('Text message').fill('');
            await count(/^0 of 160 characters$/);
        }
    });

    test('cannot be typed longer than the message can be', async () => {
        await page.field('Text message').fill('');
        await page.field('Text message').pressSequentially('a'.repeat(longest + 5));
        assert.equal((await page.field('Text message').inputValue()).length, longest);
        await count(/^160 of 160 characters$/);
    });

    test('counts more than a message holds', async () => {
        await page.field('Text message').fill('{'.repeat(81));
        await count(/^162 of 160 characters$/);
    });

    test('is stored, and shown after a reload', async () => {
        const text = '{[\u20ac]} \u00c4\u00f1 <b>"down"</b> & \'out\'';
        await page.field('Telephone number').fill('+49 30 1234567');
        await page.field('Text message').fill(text);
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Changed: Telephone number, Text message.']);
        assert.deepEqual([item('maintenance/alert_number'), item('maintenance/alert_text')],
            ['+49 30 1234567\n', `${text}\n`]);
        await page.visit('maintenance');
        assert.equal(await page.field('Telephone number').inputValue(), '+49 30 1234567');
        assert.equal(await page.field('Text message').inputValue(), text);
        assert.equal(await page.tab.locator('#count').textContent(), counted([...text].length + 5));
        assert.match(stored('log'), /Maintenance: changed Telephone number, Text message \(admin\)\n$/);
    });

    for (const [what, text] of [
        ['160 characters', 'a'.repeat(160)], ['160 of two bytes', '\u00e9'.repeat(160)],
        ['80 that count twice', '\u20ac'.repeat(80)]
    ])
        test(`takes ${what}`, async () => {
            await page.field('Text message').fill(text);
            await page.press('Save');
            assert.deepEqual((await page.messages())[0], 'Changed: Text message.');
            assert.equal(item('maintenance/alert_text'), `${text}\n`);
            assert.equal(await page.field('Text message').inputValue(), text);
            assert.equal(await page.tab.locator('#count').textContent(), counted(160));
        });

    test('keeps what was typed beside the refusals', async () => {
        const before = snapshot();
        await page.field('Telephone number').fill('0800-FLOWERS');
        await page.field('Text message').fill('<b>Down</b>');
        await page.press('Save');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 1 field needs another look. See below.']);
        assert.deepEqual(await page.refusals(),
            ['alert_number: Use digits, blanks and, in front, + only.']);
        assert.equal(await page.field('Telephone number').inputValue(), '0800-FLOWERS');
        assert.equal(await page.field('Text message').inputValue(), '<b>Down</b>');
        assert.equal(await page.tab.locator('#count').textContent(), counted(11));
        assert.deepEqual(snapshot(), before);
    });
});

describe('the alert refuses', () => {
    const digits = 'Use digits, blanks and, in front, + only.';
    const refused = [
        [{alert_number: 'abc'}, `alert_number: ${digits}`],
        [{alert_number: '12+3'}, `alert_number: ${digits}`],
        [{alert_number: '++1'}, `alert_number: ${digits}`],
        [{alert_number: '+49\n30'}, `alert_number: ${digits}`],
        [{alert_number: '1'.repeat(25)}, 'alert_number: Use 0 to 24 characters; these are 25.'],
        [{alert_number: '+1', alert_text: ''}, 'alert_text: Enter 1 to 160 characters.'],
        [{alert_number: '+1', alert_text: '   '}, 'alert_text: Enter 1 to 160 characters.'],
        [{alert_text: 'a'.repeat(161)}, 'alert_text: Use 0 to 160 characters; these are 161.'],
        [{alert_number: '+1', alert_text: 'a'.repeat(161)},
            'alert_text: Use 1 to 160 characters; these are 161.'],
        [{alert_text: '{'.repeat(81)}, 'alert_text: The message is too long: 162 of 160 characters.'],
        [{alert_text: `${'a'.repeat(159)}\u20ac`},
            'alert_text: The message is too long: 161 of 160 characters.'],
        [{alert_text: 'a'.repeat(10_000)}, 'alert_text: Use at most 160 characters.'],
        [{alert_text: 'one\ntwo'}, 'alert_text: Use characters of text messages only.'],
        [{alert_text: 'one `two`'}, 'alert_text: Text messages cannot hold the character `.'],
        [{alert_text: 'one \u3042'}, 'alert_text: Text messages cannot hold the character &#12354;.'],
        [{alert_text: 'one \u{1F600}'}, 'alert_text: Use characters of text messages only.']
    ];
    for (const [fields, why] of refused)
        test(JSON.stringify(fields).slice(0, 60), async () => {
            const before = snapshot();
            const answer = await post('maintenance',
                {form: 'alert', alert_number: '', alert_text: 'Down.', ...fields});
            assert.deepEqual(refusalsOf(answer), [why]);
            assert.deepEqual(snapshot(), before);
        });
});
