// The hosts page: names of devices, a file of lines that is edited as it is.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {launch, messagesOf, open, post, refusalsOf, reset, snapshot, state, stored, token}
    from './support.js';

let browser;
let page;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);

// Opens the page for each test of a group, and fails one in which the browser saw an error.
function inBrowser() {
    beforeEach(async () => {
        page = await open(browser);
        await page.visit('hosts');
    });
    afterEach(() => page.check());
}

const initial = '# Devices of this network: an address, then names.\n' +
    '192.168.1.20 web.home.example web\n' +
    '192.168.1.41 camera\n';
const label = 'Names and addresses';
const file = () => stored('files/hosts');
const setFile = (text) => fs.writeFileSync(path.join(state, 'files/hosts'), text);
const submit = (text) => post('hosts', {form: 'hosts', text});

// Posts bytes that no text of JavaScript has, escaped.
const submitBytes = async (bytes) => post('hosts', {}, {
    body: `token=${encodeURIComponent(await token())}&form=hosts&text=${bytes}`
});

// Fills the box and saves it.
async function save(text) {
    await page.field(label).fill(text);
    await page.press('Save');
}

describe('the names', () => {
    inBrowser();

    test('show what is stored', async () => {
        assert.equal(await page.field(label).inputValue(), initial);
        assert.equal(await page.tab.locator('#text-hint').textContent(),
            'One device a line: its IPv4 address, a blank, its names. "#" begins a comment.');
    });

    test('are stored, said to be changed, logged, and shown after a reload', async () => {
        const text = `${initial}10.0.0.7\tprinter  printer.home.example\n`;
        await save(text);
        assert.deepEqual(await page.messages(), ['Changed: Names and addresses.']);
        assert.equal(file(), text);
        assert.match(stored('log'),
            /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d Hosts: changed Names and addresses \(admin\)\n$/);
        assert.equal(await page.field(label).inputValue(), text);
        await page.visit('hosts');
        assert.equal(await page.field(label).inputValue(), text);
    });

    test('are stored with line feeds, whatever the browser sends', async () => {
        const posted = page.tab.waitForRequest((request) => request.method() === 'POST');
        await save('10.0.0.1 a\n\n10.0.0.2 b');
        assert.ok((await posted).postData().includes('10.0.0.1+a%0D%0A%0D%0A10.0.0.2+b'));
        assert.equal(file(), '10.0.0.1 a\n\n10.0.0.2 b');
    });

    test('say that nothing was different', async () => {
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.equal(file(), initial);
        assert.equal(stored('log'), '');
    });

    test('can be removed, and written again', async () => {
        await save('');
        assert.deepEqual(await page.messages(), ['Changed: Names and addresses.']);
        assert.equal(file(), '');
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        await save(initial);
        assert.equal(file(), initial);
    });

    const survivors = [
        ['comments and empty lines', '#\n\n# 10.0.0.1\n  # x\n#10.0.0.1 a_b <c>\n \t\n'],
        ['a comment behind names', '10.0.0.1 a # the first: größer, "€"\n'],
        ['blanks at both ends', '  10.0.0.1   a\tb  \n\t10.0.0.2\tc\t\n'],
        ['no line end at the end', '10.0.0.1 a'],
        ['empty lines at the end', '10.0.0.1 a\n\n\n'],
        ['an empty line in front', '\n10.0.0.1 a\n'],
        ['empty lines in front', '\n\n\n10.0.0.1 a\n'],
        ['nothing but empty lines', '\n\n'],
        ['markup in a comment', '# </textarea><script>alert(1)</script> &amp; &#9; %s\n'],
        ['marks that a form escapes', '# a+b&c=d;e%20f?g#h\n'],
        ['a bullet and other characters', '# • … „“ ﬁ Ω Ж 日本\n'],
        ['an address that is none of a device', '0.0.0.0 blocked.example\n255.255.255.254 a\n']
    ];
    for (const [what, text] of survivors)
        test(`keep ${what}`, async () => {
            await save(text);
            assert.deepEqual(await page.messages(), ['Changed: Names and addresses.']);
            assert.equal(file(), text);
            await page.visit('hosts');
            assert.equal(await page.field(label).inputValue(), text);
            await page.press('Save');
            assert.deepEqual(await page.messages(),
                ['Nothing was different: everything stays as it was.']);
            assert.equal(file(), text);
        });

    test('keep what was typed beside the refusal, and change nothing', async () => {
        const before = snapshot();
        const text = '# <b>first</b> &amp; "second"\n10.0.0.1 a\n10.0.0 b\nnonsense\n\n';
        await save(text);
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 1 field needs another look. See below.']);
        assert.deepEqual(await page.refusals(), ['text: Line 3 does not begin with an IPv4 address.']);
        assert.equal(await page.field(label).getAttribute('aria-invalid'), 'true');
        assert.equal(await page.field(label).getAttribute('aria-describedby'), 'text-error text-hint');
        assert.equal(await page.tab.evaluate(() => document.activeElement.name), 'text');
        assert.equal(await page.field(label).inputValue(), text);
        assert.deepEqual(snapshot(), before);
    });

    test('keep an empty line in front beside a refusal', async () => {
        await save('\n10.0.0 a\n');
        assert.deepEqual(await page.refusals(), ['text: Line 2 does not begin with an IPv4 address.']);
        assert.equal(await page.field(label).inputValue(), '\n10.0.0 a\n');
    });

    test('are corrected after a refusal', async () => {
        await save('10.0.0.1 a\n10.0.0.2\n');
        assert.deepEqual(await page.refusals(), ['text: Line 2 has no name.']);
        await page.field(label).press('Control+End');
        await page.field(label).pressSequentially('10.0.0.3 c');
        await page.press('Save');
        assert.deepEqual(await page.refusals(), ['text: Line 2 has no name.']);
        await save((await page.field(label).inputValue()).replace('0.2', '0.2 b'));
        assert.deepEqual(await page.messages(), ['Changed: Names and addresses.']);
        assert.equal(file(), '10.0.0.1 a\n10.0.0.2 b\n10.0.0.3 c');
    });

    // What cannot be stored is refused; nothing that was typed, itself included, may be lost with it.
    for (const text of ['10.0.0.1 a # 😀 smiles\n10.0.0.2 b\n', '10.0.0.1 a\n# 😀', '😀'])
        test(`refuse an emoji with nothing lost: ${JSON.stringify(text)}`, async () => {
            const before = snapshot();
            await save(text);
            assert.deepEqual(await page.refusals(),
                ['text: The text holds a character that cannot be stored, such as an emoji.']);
            assert.deepEqual(snapshot(), before);
            assert.equal(await page.field(label).inputValue(), text);
        });

    test('take 8000 characters and refuse one more', async () => {
        const line = `# ${'x'.repeat(97)}\n`;
        const most = line.repeat(80);
        assert.equal(most.length, 8000);
        await save(most);
        assert.deepEqual(await page.messages(), ['Changed: Names and addresses.']);
        assert.equal(file(), most);
        const before = snapshot();
        await save(`${most}#`);
        assert.deepEqual(await page.refusals(), [
            'text: Use at most 8000 characters; these are 8001.'
        ]);
        assert.equal(await page.field(label).inputValue(), `${most}#`);
        assert.deepEqual(snapshot(), before);
    });

    test('count characters, not bytes', async () => {
        const most = `# ${'€'.repeat(7998)}`;
        await save(most);
        assert.equal(file(), most);
        await page.visit('hosts');
        assert.equal(await page.field(label).inputValue(), most);
        const before = snapshot();
        await save(`${most}€`);
        assert.equal((await page.refusals()).length, 1);
        assert.deepEqual(snapshot(), before);
    });

    test('show a file that was made elsewhere', async () => {
        setFile('10.0.0.1 <b>a</b>\nnonsense\n');
        await page.visit('hosts');
        assert.equal(await page.field(label).inputValue(), '10.0.0.1 <b>a</b>\nnonsense\n');
        await page.press('Save');
        assert.deepEqual(await page.refusals(), ['text: Line 1 holds a character that no name has.']);
    });

    test('say so when they cannot be written', async () => {
        fs.rmSync(path.join(state, 'files/hosts'));
        await save('10.0.0.1 a\n');
        assert.deepEqual(await page.messages(), ['Could not be written: Names and addresses.']);
        assert.equal(stored('log'), '');
        assert.equal(await page.field(label).inputValue(), '10.0.0.1 a\n', 'what was typed is kept');
    });
});

describe('the names refuse', () => {
    const address = 'does not begin with an IPv4 address';
    const name = 'holds a character that no name has';
    const refused = [
        ['web', 1, address],
        ['web 192.168.1.20', 1, address],
        ['192.168.1 web', 1, address],
        ['192.168.1.256 web', 1, address],
        ['192.168.1.020 web', 1, address],
        ['192.168.1.20. web', 1, address],
        ['192.168.1.20/24 web', 1, address],
        ['192.168.1.20,web', 1, address],
        ['192.168.1.20:80 web', 1, address],
        ['255.255.255.255 all', 1, address],
        ['::1 web', 1, address],
        ['192.168.1.20', 1, 'has no name'],
        ['192.168.1.20 \t', 1, 'has no name'],
        ['192.168.1.20 # web', 1, 'has no name'],
        ['192.168.1.20#web', 1, 'has no name'],
        ['192.168.1.20 a_b', 1, name],
        ['192.168.1.20 web büro', 1, name],
        ['192.168.1.20 web, other', 1, name],
        ['192.168.1.20 $(reboot)', 1, name],
        ['192.168.1.20 <b>web</b>', 1, name],
        ['# one\n\n10.0.0.1 a\n10.0.0.2', 4, 'has no name'],
        ['\n\n\nx', 4, address],
        ['10.0.0.1 a\n10.0.0.2 b!\n10.0.0.3\nx', 2, name],
        [`${'#\n'.repeat(2999)}x`, 3000, address]
    ];
    for (const [text, number, why] of refused)
        test(JSON.stringify(text.length > 70 ? text.slice(-10) : text), async () => {
            const before = snapshot();
            const answer = await submit(text.replaceAll('\n', '\r\n'));
            assert.deepEqual(refusalsOf(answer), [`text: Line ${number} ${why}.`]);
            assert.deepEqual(messagesOf(answer),
                ['bad: Nothing was changed: 1 field needs another look. See below.']);
            assert.deepEqual(snapshot(), before);
        });

    // In a comment, where everything else may stand.
    for (const code of [0x01, 0x02, 0x07, 0x08, 0x0B, 0x0C, 0x0E, 0x1B, 0x1F, 0x7F])
        test(`the control character ${code}`, async () => {
            const before = snapshot();
            assert.deepEqual(refusalsOf(await submit(`# a${String.fromCharCode(code)}b\n`)),
                ['text: The text holds a character that cannot be stored, such as an emoji.']);
            assert.deepEqual(snapshot(), before);
        });

    for (const bytes of ['%23+a%FFb', '%23+a%C3', '%23+a%E2%82%0A', '%23+%F0%9F%98', '%23+%80%0A10.0.0.1+a'])
        test(`bytes that are no characters: ${bytes}`, async () => {
            const before = snapshot();
            const answer = await submitBytes(bytes);
            assert.equal(refusalsOf(answer).length, 1);
            assert.match(refusalsOf(answer)[0], /^text: .* cannot be stored/);
            assert.deepEqual(snapshot(), before);
        });

    test('a text far beyond the limit', async () => {
        const before = snapshot();
        const answer = await submit('# x\n'.repeat(30000));
        assert.deepEqual(refusalsOf(answer), [
            'text: Use at most 8000 characters; these are 120000.'
        ]);
        assert.deepEqual(snapshot(), before);
    });

    test('a post without the text', async () => {
        const before = snapshot();
        assert.deepEqual(refusalsOf(await post('hosts', {form: 'hosts'})),
            ['text: The text did not arrive. Open the page again.']);
        assert.deepEqual(snapshot(), before);
    });
});

describe('line ends', () => {
    test('of a post do not count as characters twice', async () => {
        const text = '#\r\n'.repeat(4000);
        assert.deepEqual(messagesOf(await submit(text)), ['good: Changed: Names and addresses.']);
        assert.equal(file(), '#\n'.repeat(4000));
    });

    test('alone do not make a difference', async () => {
        assert.deepEqual(messagesOf(await submit(initial.replaceAll('\n', '\r\n'))),
            ['same: Nothing was different: everything stays as it was.']);
        assert.equal(file(), initial);
    });
});
