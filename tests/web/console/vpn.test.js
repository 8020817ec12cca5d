// The VPN page: where the tunnel leads, how it is encrypted, the certificate that it shows.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {item, launch, messagesOf, open, post, refusalsOf, reset, setItem, snapshot, state, stored}
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
        await page.visit('vpn');
    });
    afterEach(() => page.check());
}

// The name of the input that has the cursor.
const focused = () => page.tab.evaluate(() => document.activeElement.name);

// A certificate is chosen by its file name in base64.
const base64 = (name) => Buffer.from(name).toString('base64');
const router = base64('router.pem');
const addFile = (name) => fs.writeFileSync(path.join(state, name), 'some text\n');

// A form as the page posts it at first: a check box that is not checked is left out.
const tunnel = {
    form: 'vpn', remote: 'vpn.example.net', port: '1194', protocol: 'udp', cipher: 'AES-256-CBC',
    digest: 'SHA256', certificate: ''
};
const ciphers = [
    ['AES-128-CBC', 'AES 128 Bit'], ['AES-192-CBC', 'AES 192 Bit'], ['AES-256-CBC', 'AES 256 Bit'],
    ['BF-CBC', 'BLOWFISH 128 Bit'], ['DES-CBC', 'DES 64 Bit'], ['DES-EDE-CBC', 'DES EDE 128 Bit'],
    ['DES-EDE3-CBC', 'DES EDE3 192 Bit'], ['DESX-CBC', 'DESX 192 Bit'], ['CAST5-CBC', 'CAST5 128 Bit'],
    ['RC2-40-CBC', 'RC2 40 Bit'], ['RC2-64-CBC', 'RC2 64 Bit'], ['RC2-CBC', 'RC2 128 Bit'],
    ['none', 'None']
];
const digests = [
    ['MD5', 'MD5'], ['SHA1', 'SHA1'], ['SHA224', 'SHA224'], ['SHA256', 'SHA256'], ['SHA384', 'SHA384'],
    ['SHA512', 'SHA512'], ['none', 'None']
];

// What a save names, in its order, each with the name of its item.
const labels = {
    'Tunnel': 'on', 'Remote name or address': 'remote', 'Port': 'port', 'Protocol': 'protocol',
    'Cipher': 'cipher', 'Digest': 'digest', 'Certificate': 'certificate'
};
const items = () => Object.fromEntries(Object.values(labels).map((name) => [name, item(`vpn/${name}`)]));
const defaults = {
    on: '0\n', remote: 'vpn.example.net\n', port: '1194\n', protocol: 'udp\n', cipher: 'AES-256-CBC\n',
    digest: 'SHA256\n', certificate: '\n'
};

// What the form shows.
async function shown() {
    return {
        on: await page.field('Keep the tunnel up').isChecked(),
        remote: await page.field('Remote name or address').inputValue(),
        port: await page.field('Port').inputValue(),
        protocol: await page.tab.locator('input[name=protocol]:checked').inputValue(),
        cipher: await page.field('Cipher').inputValue(),
        digest: await page.field('Digest').inputValue(),
        certificate: await page.field('Certificate').inputValue()
    };
}

const optionsOf = (label) => page.field(label).locator('option').evaluateAll((options) =>
    options.map((option) => [option.value, option.textContent]));

describe('the tunnel', () => {
    inBrowser();

    test('shows what is stored', async () => {
        assert.deepEqual(await shown(), {
            on: false, remote: 'vpn.example.net', port: '1194', protocol: 'udp', cipher: 'AES-256-CBC',
            digest: 'SHA256', certificate: ''
        });
    });

    test('offers every cipher and digest, in order', async () => {
        assert.deepEqual(await optionsOf('Cipher'), ciphers);
        assert.deepEqual(await optionsOf('Digest'), digests);
    });

    test('offers the certificates that are there by name, and none', async () => {
        addFile('certificates/büro & <co>.pem');
        addFile('certificates/.hidden.pem');
        await page.visit('vpn');
        assert.deepEqual(await optionsOf('Certificate'), [
            [base64('büro & <co>.pem'), 'büro & <co>.pem'], [router, 'router.pem'], ['', 'none']
        ]);
        await page.field('Certificate').selectOption('büro & <co>.pem');
        await page.press('Save');
        assert.equal(item('vpn/certificate'), 'büro & <co>.pem\n');
        assert.equal(await page.field('Certificate').inputValue(), base64('büro & <co>.pem'));
    });

    test('offers both protocols as radio buttons of one group', async () => {
        const group = page.tab.getByRole('group', {name: 'Protocol', exact: true});
        const radios = await group.getByRole('radio').all();
        assert.deepEqual(await Promise.all(radios.map((radio) => radio.getAttribute('value'))),
            ['udp', 'tcp']);
        await page.field('TCP').check();
        assert.equal(await page.field('UDP').isChecked(), false);
    });

    test('stores every field, says so, and shows it after a reload', async () => {
        await page.field('Keep the tunnel up').check();
        await page.field('Remote name or address').fill('2001:db8::1');
        await page.field('Port').fill('65535');
        await page.field('TCP').check();
        await page.field('Cipher').selectOption('none');
        await page.field('Digest').selectOption('SHA512');
        await page.field('Certificate').selectOption('router.pem');
        await page.press('Save');
        assert.deepEqual(await page.messages(), [`Changed: ${Object.keys(labels).join(', ')}.`]);
        assert.deepEqual(items(), {
            on: '1\n', remote: '2001:db8::1\n', port: '65535\n', protocol: 'tcp\n', cipher: 'none\n',
            digest: 'SHA512\n', certificate: 'router.pem\n'
        });
        await page.visit('vpn');
        assert.deepEqual(await shown(), {
            on: true, remote: '2001:db8::1', port: '65535', protocol: 'tcp', cipher: 'none',
            digest: 'SHA512', certificate: router
        });
    });

    test('says that nothing was different', async () => {
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.deepEqual(items(), defaults);
        assert.equal(stored('log'), '');
    });

    const changes = [
        ['Remote name or address', 'fill', 'vpn-2.example.org', 'vpn-2.example.org'],
        ['Remote name or address', 'fill', '', ''],
        ['Port', 'fill', '1', '1'],
        ['Protocol', 'check', undefined, 'tcp'],
        ['Cipher', 'selectOption', 'BF-CBC', 'BF-CBC'],
        ['Digest', 'selectOption', 'none', 'none'],
        ['Certificate', 'selectOption', 'router.pem', 'router.pem']
    ];
    for (const [label, change, argument, value] of changes)
        test(`changes only ${label} to "${value}", says what stays, and logs it`, async () => {
            await page.field(label === 'Protocol' ? 'TCP' : label)[change](argument);
            await page.press('Save');
            const others = Object.keys(labels).filter((other) => other !== label);
            assert.deepEqual(await page.messages(),
                [`Changed: ${label}.`, `Unchanged: ${others.join(', ')}.`]);
            assert.deepEqual(items(), {...defaults, [labels[label]]: `${value}\n`});
            const line = stored('log').replace(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d /, '');
            assert.equal(line, `VPN: changed ${label} (admin)\n`);
        });

    test('is switched on and off', async () => {
        setItem('vpn/certificate', 'router.pem');
        await page.visit('vpn');
        await page.field('Keep the tunnel up').check();
        await page.press('Save');
        assert.equal((await page.messages())[0], 'Changed: Tunnel.');
        assert.deepEqual(items(), {...defaults, on: '1\n', certificate: 'router.pem\n'});
        assert.equal(await page.field('Keep the tunnel up').isChecked(), true);
        await page.field('Keep the tunnel up').uncheck();
        await page.press('Save');
        assert.equal((await page.messages())[0], 'Changed: Tunnel.');
        assert.deepEqual(items(), {...defaults, certificate: 'router.pem\n'});
    });

    test('needs a remote name', async () => {
        const before = snapshot();
        await page.field('Keep the tunnel up').check();
        await page.field('Remote name or address').fill('');
        await page.field('Certificate').selectOption('router.pem');
        await page.press('Save');
        assert.deepEqual(await page.refusals(), ['remote: Enter 1 to 128 characters.']);
        assert.deepEqual(snapshot(), before);
    });

    test('needs a certificate', async () => {
        const before = snapshot();
        await page.field('Keep the tunnel up').check();
        await page.press('Save');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 1 field needs another look. See below.']);
        assert.deepEqual(await page.refusals(), ['certificate: The tunnel needs a certificate.']);
        assert.equal(await page.field('Keep the tunnel up').isChecked(), true);
        assert.equal(await page.field('Certificate').getAttribute('aria-invalid'), 'true');
        assert.equal(await focused(), 'certificate');
        assert.deepEqual(snapshot(), before);
    });

    test('shows none for a certificate that was deleted, and cannot be switched on with it', async () => {
        setItem('vpn/certificate', 'gone.pem');
        await page.visit('vpn');
        assert.equal(await page.field('Certificate').inputValue(), '');
        await page.field('Keep the tunnel up').check();
        await page.press('Save');
        assert.deepEqual(await page.refusals(), ['certificate: The tunnel needs a certificate.']);
        assert.deepEqual(items(), {...defaults, certificate: 'gone.pem\n'});
    });

    test('refuses a certificate that was deleted while the page was open', async () => {
        await page.field('Certificate').selectOption('router.pem');
        fs.rmSync(path.join(state, 'certificates/router.pem'));
        const before = snapshot();
        await page.press('Save');
        assert.deepEqual(await page.refusals(),
            ['certificate: This certificate is not there any more. Choose another one.']);
        assert.deepEqual(snapshot(), before);
    });

    test('keeps what was typed beside the refusals, and changes nothing', async () => {
        const before = snapshot();
        const typed = {
            on: true, remote: '<vpn>.example.net', port: '65536', protocol: 'tcp', cipher: 'RC2-CBC',
            digest: 'MD5', certificate: router
        };
        await page.field('Keep the tunnel up').check();
        await page.field('Remote name or address').fill(typed.remote);
        await page.field('Port').fill(typed.port);
        await page.field('TCP').check();
        await page.field('Cipher').selectOption(typed.cipher);
        await page.field('Digest').selectOption(typed.digest);
        await page.field('Certificate').selectOption('router.pem');
        await page.press('Save');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 2 fields need another look. See below.']);
        assert.deepEqual(await page.refusals(), [
            'remote: Use letters, digits, . - and : only.',
            'port: Enter a number from 1 to 65535 in digits.'
        ]);
        assert.deepEqual(await shown(), typed);
        assert.equal(await page.field('Remote name or address').getAttribute('aria-describedby'),
            'remote-error remote-hint');
        assert.deepEqual(snapshot(), before);
    });
});

describe('the tunnel takes', () => {
    const taken = [
        ...ciphers.map(([value]) => ['cipher', value]), ...digests.map(([value]) => ['digest', value]),
        ['protocol', 'udp'], ['protocol', 'tcp'], ['port', '1'], ['port', '65535'],
        ['remote', 'a'.repeat(128)], ['remote', '2001:db8::1'], ['remote', '192.0.2.1']
    ];
    for (const [field, value] of taken)
        test(`${field} "${value}"`, async () => {
            assert.deepEqual(refusalsOf(await post('vpn', {...tunnel, [field]: value})), []);
            assert.deepEqual(items(), {...defaults, [field]: `${value}\n`});
        });
});

describe('the tunnel refuses', () => {
    const option = 'Choose one of the options.';
    const remote = 'Use letters, digits, . - and : only.';
    const port = 'Enter a number from 1 to 65535 in digits.';
    const certificate = 'This certificate is not there any more. Choose another one.';
    const refused = [
        ['remote', 'two words', remote],
        ['remote', 'a_b', remote],
        ['remote', 'vpn.example.net/x', remote],
        ['remote', '[::1]', remote],
        ['remote', 'büro', remote],
        ['remote', '$(reboot)', remote],
        ['remote', 'a\nb', remote],
        ['remote', 'a'.repeat(129), 'Use 0 to 128 characters; these are 129.'],
        ['port', '', port],
        ['port', '0', port],
        ['port', '65536', port],
        ['port', '-1', port],
        ['port', '1194/udp', port],
        ['port', '4294968490', port],
        ['protocol', '', option],
        ['protocol', 'UDP', option],
        ['protocol', 'sctp', option],
        ['protocol', 'udp,tcp', option],
        ['cipher', '', option],
        ['cipher', 'AES-256-GCM', option],
        ['cipher', 'aes-256-cbc', option],
        ['cipher', 'AES 256 Bit', option],
        ['cipher', 'AES-256-CBC;none', option],
        ['digest', '', option],
        ['digest', 'None', option],
        ['digest', 'SHA3', option],
        ['digest', 'SHA2560', option]
    ];
    for (const [field, value, why] of refused)
        test(`${field} "${value.length > 70 ? `${value.length} characters` : value}"`, async () => {
            const before = snapshot();
            const answer = await post('vpn', {...tunnel, [field]: value});
            assert.deepEqual(refusalsOf(answer), [`${field}: ${why}`]);
            assert.deepEqual(messagesOf(answer),
                ['bad: Nothing was changed: 1 field needs another look. See below.']);
            assert.deepEqual(snapshot(), before);
        });

    // Names of files that are there, but no certificates of the list, and texts that are no names.
    const certificates = [
        ['that is not there', base64('gone.pem')], ['of another folder', base64('../htpasswd')],
        ['of a private key', base64('../keys/router.key')], ['by another way', base64('./router.pem')],
        ['with a path', base64('../certificates/router.pem')], ['from the root', base64('/etc/passwd')],
        ['that is hidden', base64('.hidden.pem')], ['that is the folder', base64('.')],
        ['that is the folder above', base64('..')], ['with a NUL behind', base64('router.pem\0')],
        ['with a NUL in it', base64('router.pem\0.pem')], ['with a NUL in front', base64('\0router.pem')],
        ['with a line end', base64('router.pem\n')], ['in other letters', base64('ROUTER.PEM')],
        ['as it is', 'router.pem'], ['that is no base64', '!!!!'], ['of marks', '===='],
        ['that is too long', base64('r'.repeat(256))], ['that is far too long', base64('r'.repeat(9000))]
    ];
    for (const [what, value] of certificates)
        for (const on of [{}, {on: '1'}])
            test(`a certificate ${what}, tunnel ${on.on ? 'on' : 'off'}`, async () => {
                addFile('certificates/.hidden.pem');
                const before = snapshot();
                const answer = await post('vpn', {...tunnel, ...on, certificate: value});
                assert.deepEqual(refusalsOf(answer), [`certificate: ${certificate}`]);
                assert.deepEqual(messagesOf(answer),
                    ['bad: Nothing was changed: 1 field needs another look. See below.']);
                assert.deepEqual(snapshot(), before);
            });

    for (const field of ['remote', 'port', 'protocol', 'cipher', 'digest', 'certificate'])
        test(`a post without ${field}`, async () => {
            const before = snapshot();
            const {[field]: _, ...others} = tunnel;
            assert.deepEqual(refusalsOf(await post('vpn', others)),
                [`${field}: This field did not arrive. Open the page again.`]);
            assert.deepEqual(snapshot(), before);
        });

    test('several fields at once, in the order of the page', async () => {
        const before = snapshot();
        const answer = await post('vpn', {
            form: 'vpn', on: '1', remote: '', port: '', protocol: '', cipher: '', digest: '',
            certificate: 'x'
        });
        assert.deepEqual(refusalsOf(answer).map((text) => text.replace(/:.*/, '')),
            ['remote', 'port', 'protocol', 'cipher', 'digest', 'certificate']);
        assert.deepEqual(messagesOf(answer),
            ['bad: Nothing was changed: 6 fields need another look. See below.']);
        assert.deepEqual(snapshot(), before);
    });
});
