// The certificates page: what openssl says about the stored files, uploads and their refusals,
// deletion. The certificates are made with openssl in a directory of their own.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {
    filePart, launch, list, messagesOf, open, post, postFile, refusalsOf, reset, send, setItem, snapshot,
    state, stored
} from './support.js';

const openssl = (...args) => execFileSync('openssl', args, {stdio: ['ignore', 'pipe', 'pipe']});

let folder;  // of the certificates that are made here
let browser;
let page;

const made = (name) => path.join(folder, name);
const content = (name) => fs.readFileSync(made(name));

// Makes NAME.pem and NAME.key.
function makeCertificate(name) {
    openssl('req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:P-256', '-nodes', '-days', '30',
        '-subj', `/O=Example & Sons <"test">/CN=${name}.example`, '-keyout', made(`${name}.key`),
        '-out', made(`${name}.pem`));
}

before(async () => {
    browser = await launch();
    folder = fs.mkdtempSync(path.join(process.env.QMV_WORK, 'certificates-'));
    makeCertificate('office');
    makeCertificate('other');
    openssl('x509', '-in', made('office.pem'), '-outform', 'DER', '-out', made('binary.pem'));
    openssl('pkey', '-in', made('office.key'), '-outform', 'DER', '-out', made('binary.key'));
    openssl('pkey', '-in', made('office.key'), '-aes256', '-passout', 'pass:12345678', '-out',
        made('locked.key'));
});
after(() => browser.close());
beforeEach(reset);

// Opens the page for each test of a group, and fails one in which the browser saw an error.
function inBrowser(options) {
    beforeEach(async () => {
        page = await open(browser, options);
        await page.visit('certificates');
    });
    afterEach(() => page.check());
}

// Puts files below the state directory, as if they had been uploaded.
function store(...names) {
    for (const name of names)
        fs.copyFileSync(made(name), path.join(state, name.endsWith('.key') ? 'keys' : 'certificates', name));
}

// What openssl says about a certificate; the version of openssl decides about the blanks.
const explained = (file) =>
    openssl('x509', '-in', file, '-noout', '-subject', '-issuer', '-enddate').toString().trim();

// The row of a file: its heading, and the texts below it.
const row = (name) => page.tab.locator('.certificates > li').filter({
    has: page.tab.getByRole('heading', {name, exact: true})
});
const facts = (name) => row(name).locator('.facts').allTextContents();
const titles = async (name) => {
    const found = await row(name).locator('.facts').all();
    return Promise.all(found.map((element) => element.getAttribute('title')));
};

describe('the list', () => {
    inBrowser();

    test('shows what openssl says, as text and as a tooltip, and the key beside it', async () => {
        store('office.pem', 'office.key');
        await page.visit('certificates');
        const said = explained(made('office.pem'));
        assert.match(said, /Example & Sons <\\?"test\\?">/);
        assert.deepEqual(await facts('office.pem'), [said, 'Key: Key is valid']);
        assert.deepEqual(await titles('office.pem'), [said, 'Key is valid']);
        assert.deepEqual(await page.tab.locator('.certificates h3').allTextContents(),
            ['office.pem', 'router.pem']);
    });

    test('says when a certificate has no key', async () => {
        store('office.pem');
        await page.visit('certificates');
        assert.deepEqual(await facts('office.pem'), [explained(made('office.pem')), 'No key.']);
    });

    test('says when a key cannot be read', async () => {
        store('office.pem');
        fs.copyFileSync(made('locked.key'), path.join(state, 'keys/office.key'));
        await page.visit('certificates');
        assert.deepEqual(await facts('office.pem'),
            [explained(made('office.pem')), 'Key: Cannot be read.']);
    });

    test('shows no keys of certificates that are not there', async () => {
        store('other.key');
        await page.visit('certificates');
        assert.deepEqual(await page.tab.locator('.certificates h3').allTextContents(), ['router.pem']);
    });

    test('says when there is none', async () => {
        fs.rmSync(path.join(state, 'certificates/router.pem'));
        await page.visit('certificates');
        assert.equal(await page.tab.getByText('There is none yet.').count(), 1);
        assert.equal(await page.tab.locator('.certificates').count(), 0);
    });

    for (const [what, bytes] of [['no certificate', 'once upon a time\n'], ['nothing', '']])
        test(`names a file that holds ${what}, and no directory of the device`, async () => {
            fs.writeFileSync(path.join(state, 'certificates/tale.pem'), bytes);
            await page.visit('certificates');
            assert.deepEqual(await facts('tale.pem'), ['Cannot be read.', 'No key.']);
            assert.ok(!(await page.tab.content()).includes(state));
        });

    test('shows no hidden files and no directories', async () => {
        fs.mkdirSync(path.join(state, 'certificates/folder.pem'));
        fs.copyFileSync(made('office.pem'), path.join(state, 'certificates/.hidden.pem'));
        await page.visit('certificates');
        assert.deepEqual(await page.tab.locator('.certificates h3').allTextContents(), ['router.pem']);
    });
});

describe('an upload', () => {
    inBrowser();

    // Sends a file through the page's script, which puts the answer in place of the page.
    async function upload(file) {
        await page.tab.setInputFiles('#file', file);
        await page.tab.getByRole('button', {name: 'Upload', exact: true}).click();
        await page.tab.locator('#messages p, .error').first().waitFor();
    }

    test('stores a certificate and then its key, without loading the page again', async () => {
        await page.tab.evaluate(() => {
            window.marker = 'still here';
        });
        await upload(made('office.pem'));
        assert.deepEqual(await page.messages(), ['Stored: office.pem.']);
        assert.deepEqual(await facts('office.pem'), [explained(made('office.pem')), 'No key.']);
        await page.tab.setInputFiles('#file', made('office.key'));
        await page.tab.getByRole('button', {name: 'Upload', exact: true}).click();
        await page.tab.getByText('Stored: office.key.').waitFor();
        assert.deepEqual(await facts('office.pem'), [explained(made('office.pem')), 'Key: Key is valid']);
        assert.equal(await page.tab.evaluate(() => window.marker), 'still here');
        assert.equal(stored('certificates/office.pem'), content('office.pem').toString());
        assert.equal(stored('keys/office.key'), content('office.key').toString());
        assert.deepEqual(list('uploads'), []);
        assert.match(stored('log'), /Stored: office\.pem \(admin\)\n.*Stored: office\.key \(admin\)\n$/);
    });

    test('replaces a file of the same name', async () => {
        store('office.pem');
        await upload({name: 'office.pem', mimeType: 'text/plain', buffer: content('other.pem')});
        assert.deepEqual(await page.messages(), ['Replaced: office.pem.']);
        assert.equal(stored('certificates/office.pem'), content('other.pem').toString());
        assert.deepEqual(await facts('office.pem'), [explained(made('other.pem')), 'No key.']);
    });

    test('that is refused says why beside the field, and another one can follow', async () => {
        await upload({name: 'office.txt', mimeType: 'text/plain', buffer: content('office.pem')});
        assert.deepEqual(await page.refusals(),
            ['file: A certificate\'s name ends in .pem, a key\'s in .key.']);
        assert.equal(await page.field('Certificate or key (PEM)').getAttribute('aria-invalid'), 'true');
        await page.tab.setInputFiles('#file', made('office.pem'));
        await page.tab.getByRole('button', {name: 'Upload', exact: true}).click();
        await page.tab.getByText('Stored: office.pem.').waitFor();
        assert.deepEqual(await page.refusals(), []);
    });

    test('of far too much is answered by the page', async () => {
        await upload({name: 'office.pem', mimeType: 'text/plain', buffer: Buffer.alloc(1 << 20)});
        assert.deepEqual(await page.messages(), [
            'What was sent is too large: this page takes up to 64 KiB. Nothing was changed.'
        ]);
        assert.deepEqual(list('certificates'), ['router.pem']);
        // The browser reports the status itself.
        assert.match(page.problems.pop(), /status of 413/);
    });

    test('needs a file, and the browser says so', async () => {
        await page.tab.getByRole('button', {name: 'Upload', exact: true}).click();
        assert.ok(await page.tab.locator('#file').evaluate((input) => input.validity.valueMissing));
        assert.deepEqual(await page.messages(), []);
    });
});

describe('without scripts', () => {
    inBrowser({javaScriptEnabled: false});

    test('a certificate and its key are stored and deleted as well', async () => {
        await page.tab.setInputFiles('#file', made('office.pem'));
        await page.press('Upload');
        assert.deepEqual(await page.messages(), ['Stored: office.pem.']);
        await page.tab.setInputFiles('#file', made('office.key'));
        await page.press('Upload');
        assert.deepEqual(await page.messages(), ['Stored: office.key.']);
        assert.equal((await facts('office.pem'))[1], 'Key: Key is valid');
        assert.equal(stored('keys/office.key'), content('office.key').toString());
        await row('office.pem').locator('summary').click();
        await Promise.all([
            page.tab.waitForEvent('load'), row('office.pem').getByRole('button').click()
        ]);
        assert.deepEqual(await page.messages(), ['Deleted: office.pem and its key.']);
        assert.deepEqual([list('certificates'), list('keys')], [['router.pem'], ['router.key']]);
    });

    test('a file that is refused says why', async () => {
        await page.tab.setInputFiles('#file', made('other.key'));
        await page.press('Upload');
        assert.deepEqual(await page.refusals(), ['file: Upload its certificate first: other.pem.']);
        assert.deepEqual(list('keys'), ['router.key']);
    });

    test('a file of far too much is refused', async () => {
        await page.tab.setInputFiles('#file',
            {name: 'office.pem', mimeType: 'text/plain', buffer: Buffer.alloc(200_000)});
        await page.press('Upload');
        assert.match((await page.messages())[0], /^What was sent is too large/);
        assert.deepEqual(list('certificates'), ['router.pem']);
        page.problems.length = 0;
    });
});

// Sends a file whose name and content are given as they go over the line.
const sendFile = (name, bytes) => postFile('certificates', 'upload', filePart('file', name, bytes));

describe('an upload is stored', () => {
    const accepted = [
        ['a name of 64 characters', `${'a'.repeat(60)}.pem`, `${'a'.repeat(60)}.pem`],
        ['all marks', '_a-1.b.pem', '_a-1.b.pem'],
        ['a directory in front, which is left out', '../x.pem', 'x.pem'],
        ['directories of another system', 'C:\\fakepath\\..\\x.pem', 'x.pem'],
        ['an absolute name', '/items/lan/x.pem', 'x.pem']
    ];
    for (const [what, name, kept] of accepted)
        test(`with ${what}`, async () => {
            const answer = await sendFile(name, content('office.pem'));
            assert.deepEqual(messagesOf(answer), [`good: Stored: ${kept}.`]);
            assert.equal(stored(`certificates/${kept}`), content('office.pem').toString());
            assert.deepEqual(list('certificates'), ['router.pem', kept].sort());
            assert.deepEqual(list('uploads'), []);
        });

    test('with 64 KiB and no byte more', async () => {
        const whole = Buffer.alloc(64 * 1024, '#\n');
        content('office.pem').copy(whole);
        assert.deepEqual(messagesOf(await sendFile('full.pem', whole)), ['good: Stored: full.pem.']);
        assert.ok(fs.readFileSync(path.join(state, 'certificates/full.pem')).equals(whole));
    });
});

describe('an upload is refused', () => {
    const badName = 'Use a file name of up to 64 letters, digits and the marks _ - .';
    const badEnd = 'A certificate\'s name ends in .pem, a key\'s in .key.';
    const noCertificate = 'This file holds no certificate in PEM format.';
    const noKey = 'This file holds no key in PEM format, or an encrypted one.';
    const pem = () => content('office.pem');
    const large = (size) => () => {
        const bytes = Buffer.alloc(size, '#\n');
        pem().copy(bytes);
        return bytes;
    };
    const refused = [
        ['another extension', 'office.crt', pem, badEnd],
        ['no extension', 'office', pem, badEnd],
        ['an extension in capitals', 'office.PEM', pem, badEnd],
        ['an extension that does not end the name', 'office.pem.txt', pem, badEnd],
        ['a blank', 'my office.pem', pem, badName],
        ['a blank in front', ' office.pem', pem, badName],
        ['a blank behind', 'office.pem ', pem, badName],
        ['a leading dot', '.office.pem', pem, badName],
        ['leading dots', '..office.pem', pem, badName],
        ['nothing but the extension', '.pem', pem, badName],
        ['a leading hyphen', '-noout.pem', pem, badName],
        ['a command', '$(id).pem', pem, badName],
        ['markup', '<b>.pem', pem, badName],
        ['letters of another alphabet', 'b\u00fcro.pem', pem, badName],
        ['65 characters', `${'a'.repeat(61)}.pem`, pem, badName],
        ['900 characters', `${'a'.repeat(896)}.pem`, pem, badName],
        ['the name of a temporary file', '.part-1', pem, badName],
        ['two dots', '..', pem, badName],
        ['nothing in it', 'office.pem', () => Buffer.alloc(0), noCertificate],
        ['a text in it', 'office.pem', () => 'once upon a time\n', noCertificate],
        ['a key in it', 'office.pem', () => content('office.key'), noCertificate],
        ['another format', 'office.pem', () => content('binary.pem'), noCertificate],
        ['another format, as a key', 'router.key', () => content('binary.key'), noKey],
        ['half of a certificate', 'office.pem', () => pem().subarray(0, pem().length / 2), noCertificate],
        ['nothing in it, as a key', 'router.key', () => Buffer.alloc(0), noKey],
        ['a certificate in it, as a key', 'router.key', pem, noKey],
        ['a key that needs a password', 'router.key', () => content('locked.key'), noKey],
        ['a key that has no certificate', 'office.key', () => content('office.key'),
            'Upload its certificate first: office.pem.'],
        ['a key of another certificate', 'router.key', () => content('office.key'),
            'This key does not belong to the certificate router.pem.'],
        ['64 KiB and a byte', 'office.pem', large(64 * 1024 + 1), 'The file is larger than 64 KiB.'],
        ['70 KiB', 'office.pem', large(70 * 1024), 'The file is larger than 64 KiB.'],
        ['no name', '', pem, 'Choose a file first.'],
        ['no name and nothing in it', '', () => '', 'Choose a file first.']
    ];
    for (const [what, name, bytes, why] of refused)
        test(`with ${what}`, async () => {
            const before = snapshot();
            const answer = await sendFile(name, bytes());
            assert.deepEqual(refusalsOf(answer), [`file: ${why}`]);
            assert.deepEqual(messagesOf(answer),
                ['bad: Nothing was changed: 1 field needs another look. See below.']);
            assert.deepEqual(snapshot(), before);
            assert.deepEqual(list('uploads'), []);
        });

    test('without a file', async () => {
        const before = snapshot();
        assert.deepEqual(refusalsOf(await post('certificates', {form: 'upload'})),
            ['file: Choose a file first.']);
        assert.deepEqual(snapshot(), before);
    });

    for (const size of [80_000, 300_000, 4 << 20])
        test(`with ${size} bytes, more than the page takes`, async () => {
            const before = snapshot();
            const answer = await sendFile('office.pem', Buffer.alloc(size));
            assert.equal(answer.status, 413);
            assert.deepEqual(messagesOf(answer), [
                'bad: What was sent is too large: this page takes up to 64 KiB. Nothing was changed.'
            ]);
            assert.deepEqual(snapshot(), before);
            assert.deepEqual(list('uploads'), []);
        });
});

describe('deleting', () => {
    inBrowser();

    test('asks first, and takes the key along', async () => {
        store('office.pem', 'office.key');
        await page.visit('certificates');
        const button = row('office.pem').getByRole('button', {name: 'Delete now', exact: true});
        assert.ok(await button.isHidden());
        await row('office.pem').locator('summary').click();
        assert.ok(await button.isVisible());
        assert.equal(await row('office.pem').locator('form > p').textContent(),
            'Delete office.pem and its key? This cannot be undone.');
        await Promise.all([page.tab.waitForEvent('load'), button.click()]);
        assert.deepEqual(await page.messages(), ['Deleted: office.pem and its key.']);
        assert.equal(await row('office.pem').count(), 0);
        assert.deepEqual([list('certificates'), list('keys')], [['router.pem'], ['router.key']]);
        assert.match(stored('log'), /Certificates: deleted office\.pem \(admin\)\n$/);
    });

    test('works with the keyboard', async () => {
        await row('router.pem').locator('summary').press('Enter');
        await Promise.all([
            page.tab.waitForEvent('load'), row('router.pem').getByRole('button').press('Enter')
        ]);
        assert.deepEqual([list('certificates'), list('keys')], [[], []]);
    });

    test('takes no other key along', async () => {
        store('office.pem', 'office.key', 'other.pem');
        const answer = await post('certificates', {form: 'delete', delete: 'other.pem'});
        assert.deepEqual(messagesOf(answer), ['good: Deleted: other.pem.']);
        assert.deepEqual([list('certificates'), list('keys')],
            [['office.pem', 'router.pem'], ['office.key', 'router.key']]);
    });

    test('keeps the certificate that the VPN uses', async () => {
        setItem('vpn/certificate', 'router.pem');
        const before = snapshot();
        await row('router.pem').locator('summary').click();
        await Promise.all([page.tab.waitForEvent('load'), row('router.pem').getByRole('button').click()]);
        assert.deepEqual(await page.messages(), ['router.pem was not deleted: the VPN uses it.']);
        assert.deepEqual(snapshot(), before);
    });

    for (const name of ['', '.', '..', 'nothing.pem', 'router.key', 'ROUTER.PEM', 'router.pem ',
        './router.pem', '../items/lan/address', '../keys/router.key', '../../etc/passwd', '.hidden.pem',
        '*', 'router.pem/', 'x'.repeat(5000)])
        test(`finds no certificate "${name.slice(0, 40)}"`, async () => {
            fs.copyFileSync(made('office.pem'), path.join(state, 'certificates/.hidden.pem'));
            const before = snapshot();
            assert.deepEqual(messagesOf(await post('certificates', {form: 'delete', delete: name})),
                ['bad: This certificate is not there any more.']);
            assert.deepEqual(snapshot(), before);
        });

    test('finds no certificate without a name', async () => {
        const before = snapshot();
        assert.deepEqual(messagesOf(await post('certificates', {form: 'delete'})),
            ['bad: This certificate is not there any more.']);
        assert.deepEqual(snapshot(), before);
    });

    test('deletes no directory', async () => {
        fs.mkdirSync(path.join(state, 'certificates/folder.pem'));
        const before = snapshot();
        await post('certificates', {form: 'delete', delete: 'folder.pem'});
        assert.deepEqual(snapshot(), before);
        assert.deepEqual(list('certificates'), ['folder.pem', 'router.pem']);
    });
});

describe('a file with a hostile name', () => {
    inBrowser();

    const names = [
        'a"b<img src=x onerror=alert(1)>.pem', '$(touch pwned).pem', '$(cd $QMV_STATE; touch pwned).pem',
        '`touch pwned`.pem', '; touch pwned;.pem', 'a" -in "b; touch pwned.pem', '\\$(touch pwned)\\.pem',
        '-text.pem', '%s%n.pem', '&lt;b&gt;.pem', '</h3><script>alert(1)</script>.pem'
    ].map((name) => name.replaceAll('/', '\u2215'));
    for (const name of names)
        test(`is text only, and can be deleted: ${JSON.stringify(name)}`, async () => {
            fs.copyFileSync(made('office.pem'), path.join(state, 'certificates', name));
            fs.copyFileSync(made('office.key'), path.join(state, 'keys', name.replace(/pem$/, 'key')));
            await page.visit('certificates');
            const headings = await page.tab.locator('.certificates h3').allTextContents();
            assert.deepEqual(headings.sort(), [name, 'router.pem'].sort());
            const own = page.tab.locator('.certificates > li').filter({
                has: page.tab.locator('input[name="delete"]:not([value="router.pem"])')
            });
            assert.deepEqual(await own.locator('.facts').allTextContents(),
                [explained(made('office.pem')), 'Key: Key is valid']);
            assert.equal(await page.tab.locator('main img, main script, main b').count(), 0);
            await own.locator('summary').click();
            await Promise.all([page.tab.waitForEvent('load'), own.getByRole('button').click()]);
            assert.deepEqual(await page.messages(), [`Deleted: ${name} and its key.`]);
            assert.deepEqual([list('certificates'), list('keys')], [['router.pem'], ['router.key']]);
            // Where the programs run, and where their files are.
            const programs = path.join(process.env.QMV_BUILD, 'examples/console');
            for (const place of [programs, state, path.join(state, 'certificates')])
                assert.ok(!fs.existsSync(path.join(place, 'pwned')), place);
        });
});

describe('the read-only user', () => {
    inBrowser({user: 'viewer'});

    test('sees the list, and nothing that changes it', async () => {
        assert.deepEqual(await page.tab.locator('.certificates h3').allTextContents(), ['router.pem']);
        assert.equal((await facts('router.pem'))[1], 'Key: Key is valid');
        assert.equal(await page.tab.locator('summary').count(), 0);
        assert.equal(await page.tab.locator('main button').count(), 0);
        assert.ok(await page.tab.locator('#file').isDisabled());
    });

    test('may not delete', async () => {
        const before = snapshot();
        const answer = await post('certificates', {form: 'delete', delete: 'router.pem'}, {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.deepEqual(messagesOf(answer),
            ['bad: You may look at this page, but not change anything here.']);
        assert.deepEqual(snapshot(), before);
    });

    test('may not upload', async () => {
        const before = snapshot();
        const answer = await postFile('certificates', 'upload',
            filePart('file', 'office.pem', content('office.pem')), {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.deepEqual(snapshot(), before);
    });
});

describe('the files', () => {
    test('are not served', async () => {
        for (const name of ['/certificates/router.pem', '/keys/router.key', '/state/keys/router.key'])
            assert.equal((await send(name)).status, 404, name);
        assert.ok(!(await send('/certificates.cgi')).body.includes('PRIVATE KEY'));
    });
});
