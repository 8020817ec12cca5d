// The internet page: connection mode, provider, user name and password, DNS servers, MTU, VLAN.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {item, launch, messagesOf, open, post, refusalsOf, reset, send, setItem, snapshot, stored}
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
        await page.visit('internet');
    });
    afterEach(() => page.check());
}

// The name of the input that has the cursor.
const focused = () => page.tab.evaluate(() => document.activeElement.name);

// The box of a field, by its label. The label of the provider encloses its box.
const box = (label) => (label === 'Provider' ?
    page.tab.getByRole('combobox', {name: label, exact: true}) : page.field(label));

const connection = {
    form: 'internet', mode: 'pppoe', provider: 'example', ppp_user: 'customer@dsl.example',
    ppp_password: '••••••', dns1: '', dns2: '', mtu: '1492', vlan: '7'
};

// Labels in the order in which a save names them, each with the name of its item.
const labels = {
    'Connection': 'mode', 'Provider': 'provider', 'User name': 'ppp_user', 'Password': 'ppp_password',
    'First DNS server': 'dns1', 'Second DNS server': 'dns2', 'Largest packet (MTU)': 'mtu', 'VLAN': 'vlan'
};
const items = () => Object.fromEntries(Object.values(labels).map((name) => [name, item(`internet/${name}`)]));
const defaults = {
    mode: 'pppoe\n', provider: 'example\n', ppp_user: 'customer@dsl.example\n', ppp_password: 'secret\n',
    dns1: '\n', dns2: '\n', mtu: '1492\n', vlan: '7\n'
};

describe('the connection', () => {
    inBrowser();

    test('shows what is stored, the password as bullets', async () => {
        const shown = {};
        for (const [label, name] of Object.entries(labels))
            shown[name] = await box(label).inputValue();
        assert.deepEqual({form: 'internet', ...shown}, connection);
        assert.equal(await box('Password').getAttribute('type'), 'password');
    });

    test('offers every mode and the providers of the database, in order', async () => {
        const options = async (label) => (await box(label).locator('option').all());
        const pairs = async (label) => Promise.all((await options(label)).map(async (option) =>
            [await option.getAttribute('value'), await option.textContent()]));
        assert.deepEqual(await pairs('Connection'), [
            ['pppoe', 'PPPoE (DSL)'], ['dhcp', 'DHCP (cable, fibre)'], ['bridge', 'Bridge (another device connects)'],
            ['off', 'Off']
        ]);
        assert.deepEqual(await pairs('Provider'), [
            ['example', 'Example Telecom'], ['fibre', 'Fibre for All'], ['city', 'City Net'],
            ['other', 'Another provider']
        ]);
    });

    test('stores every field, says so, and shows it after a reload', async () => {
        await box('Connection').selectOption('dhcp');
        await box('Provider').selectOption('city');
        await box('User name').fill('someone');
        await box('Password').fill('N3w-pass#word');
        await box('First DNS server').fill('9.9.9.9');
        await box('Second DNS server').fill('149.112.112.112');
        await box('Largest packet (MTU)').fill('1500');
        await box('VLAN').fill('0');
        await page.press('Save');
        assert.deepEqual(await page.messages(), [`Changed: ${Object.keys(labels).join(', ')}.`]);
        assert.deepEqual(items(), {
            mode: 'dhcp\n', provider: 'city\n', ppp_user: 'someone\n', ppp_password: 'N3w-pass#word\n',
            dns1: '9.9.9.9\n', dns2: '149.112.112.112\n', mtu: '1500\n', vlan: '0\n'
        });
        await page.visit('internet');
        const shown = [];
        for (const label of Object.keys(labels))
            shown.push(await box(label).inputValue());
        assert.deepEqual(shown,
            ['dhcp', 'city', 'someone', '•'.repeat(13), '9.9.9.9', '149.112.112.112', '1500', '0']);
    });

    test('says that nothing was different', async () => {
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.deepEqual(items(), defaults);
        assert.equal(stored('log'), '');
    });

    const changes = [
        ['Connection', 'selectOption', 'bridge'],
        ['Provider', 'selectOption', 'fibre'],
        ['User name', 'fill', 'other@dsl.example'],
        ['Password', 'fill', 'another'],
        ['First DNS server', 'fill', '192.0.2.53'],
        ['Second DNS server', 'fill', '192.0.2.54'],
        ['Largest packet (MTU)', 'fill', '576'],
        ['VLAN', 'fill', '4094']
    ];
    for (const [label, change, value] of changes)
        test(`changes only ${label}, says what stays, and logs it`, async () => {
            await box(label)[change](value);
            await page.press('Save');
            const others = Object.keys(labels).filter((other) => other !== label);
            assert.deepEqual(await page.messages(),
                [`Changed: ${label}.`, `Unchanged: ${others.join(', ')}.`]);
            assert.deepEqual(items(), {...defaults, [labels[label]]: `${value}\n`});
            const line = stored('log').replace(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d /, '');
            assert.equal(line, `Internet: changed ${label} (admin)\n`);
        });

    test('removes DNS servers and the user name again', async () => {
        setItem('internet/dns1', '192.0.2.53');
        setItem('internet/mode', 'dhcp');
        await page.visit('internet');
        await box('First DNS server').fill('');
        await box('User name').fill('');
        await page.press('Save');
        assert.equal((await page.messages())[0], 'Changed: User name, First DNS server.');
        assert.deepEqual(items(), {...defaults, mode: 'dhcp\n', ppp_user: '\n'});
        await page.visit('internet');
        assert.equal(await box('First DNS server').inputValue(), '');
        assert.equal(await box('User name').inputValue(), '');
    });

    test('keeps what was typed beside the refusals, but no password, and changes nothing', async () => {
        const before = snapshot();
        await box('Connection').selectOption('bridge');
        await box('Provider').selectOption('fibre');
        await box('User name').fill('two words');
        await box('Password').fill('typed-but-lost');
        await box('First DNS server').fill('<9.9.9.9>');
        await box('Second DNS server').fill('192.0.2.54');
        await box('Largest packet (MTU)').fill('575');
        await box('VLAN').fill('12');
        await page.press('Save');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 3 fields need another look. See below.']);
        assert.deepEqual(await page.refusals(), [
            'ppp_user: Use ASCII letters, digits and marks, but no blanks or quotation marks, only.',
            'dns1: Enter an address of four numbers, such as 192.168.1.1.',
            'mtu: Enter a number from 576 to 1500 in digits.'
        ]);
        const shown = [];
        for (const label of Object.keys(labels))
            shown.push(await box(label).inputValue());
        assert.deepEqual(shown,
            ['bridge', 'fibre', 'two words', '••••••', '<9.9.9.9>', '192.0.2.54', '575', '12']);
        assert.equal(await box('User name').getAttribute('aria-invalid'), 'true');
        assert.equal(await box('User name').getAttribute('aria-describedby'), 'ppp_user-error');
        assert.equal(await focused(), 'ppp_user');
        assert.ok(!(await page.tab.content()).includes('typed-but-lost'));
        assert.deepEqual(snapshot(), before);
    });

    // A text box must not lose what stands behind a character that the device cannot store.
    test('keeps a typed emoji, and what stands behind it', async () => {
        await box('User name').fill('cust😀omer');
        await page.press('Save');
        assert.deepEqual(await page.refusals(), [
            'ppp_user: Use ASCII letters, digits and marks, but no blanks or quotation marks, only.'
        ]);
        assert.equal(await box('User name').inputValue(), 'cust😀omer');
        assert.deepEqual(items(), defaults);
    });
});

describe('the user name', () => {
    inBrowser();

    const names = [
        ['example', 'me', 'me@dsl.example'], ['fibre', 'me', 'me@fibre.example'], ['city', 'me', 'me'],
        ['other', 'me', 'me'], ['example', 'me@elsewhere.example', 'me@elsewhere.example'],
        ['fibre', 'me@', 'me@']
    ];
    for (const [provider, typed, whole] of names)
        test(`"${typed}" at ${provider} is ${whole}`, async () => {
            await box('Provider').selectOption(provider);
            await box('User name').fill(typed);
            await page.press('Save');
            assert.equal(item('internet/ppp_user'), `${whole}\n`);
            assert.equal(await box('User name').inputValue(), whole);
        });

    test('is not made of the suffix alone', async () => {
        await box('Connection').selectOption('off');
        await box('User name').fill('');
        await page.press('Save');
        assert.equal(item('internet/ppp_user'), '\n');
    });

    // What the page shows is what the next save stores: it must be the whole name.
    test('has 64 characters at most with its suffix', async () => {
        const before = snapshot();
        await box('User name').fill('u'.repeat(53));
        await page.press('Save');
        assert.deepEqual(await page.refusals(),
            ['ppp_user: With what the provider adds, the user name is too long.']);
        assert.equal(await box('User name').inputValue(), 'u'.repeat(53));
        assert.deepEqual(snapshot(), before);
        await box('User name').fill('u'.repeat(52));
        await page.press('Save');
        assert.equal(item('internet/ppp_user'), `${'u'.repeat(52)}@dsl.example\n`);
        await page.visit('internet');
        assert.equal(await box('User name').inputValue(), `${'u'.repeat(52)}@dsl.example`);
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
    });
});

describe('the password', () => {
    inBrowser();

    test('is never in the page', async () => {
        setItem('internet/ppp_password', 'hidden-word');
        assert.ok(!(await send('/internet.cgi')).body.includes('hidden-word'));
        assert.ok(!(await send('/internet.cgi', {user: 'viewer'})).body.includes('hidden-word'));
    });

    test('is not in the page after it was changed either, nor in the log', async () => {
        const answer = await post('internet', {...connection, ppp_password: 'fresh-word'});
        assert.equal(messagesOf(answer)[0], 'good: Changed: Password.');
        assert.ok(!answer.body.includes('fresh-word'));
        assert.equal(item('internet/ppp_password'), 'fresh-word\n');
        assert.ok(!stored('log').includes('fresh-word'));
    });

    test('is not in the page when it was refused', async () => {
        const before = snapshot();
        const answer = await post('internet', {...connection, ppp_password: 'never "echoed"'});
        assert.equal(refusalsOf(answer).length, 1);
        assert.ok(!answer.body.includes('never'));
        assert.ok(!answer.body.includes('echoed'));
        assert.deepEqual(snapshot(), before);
    });

    test('can be removed, and set again', async () => {
        await box('Password').fill('');
        await page.press('Save');
        assert.equal((await page.messages())[0], 'Changed: Password.');
        assert.equal(item('internet/ppp_password'), '\n');
        assert.equal(await box('Password').inputValue(), '');
        await box('Password').fill('again');
        await page.press('Save');
        assert.equal(item('internet/ppp_password'), 'again\n');
    });

    test('that is typed behind the bullets is refused, and the old one stays', async () => {
        const before = snapshot();
        await box('Password').press('End');
        await box('Password').pressSequentially('x');
        await page.press('Save');
        assert.deepEqual(await page.refusals(),
            ['ppp_password: Replace all bullets, or leave all of them.']);
        assert.equal(await box('Password').inputValue(), '••••••');
        assert.deepEqual(snapshot(), before);
    });
});

describe('the connection takes', () => {
    const taken = [
        ['mode', 'off'], ['mode', 'bridge'], ['provider', 'other'], ['ppp_user', 'u'.repeat(53) + '@x'],
        ['ppp_user', `#$%&()*+,-./:;<=>?@[\\]^_{|}~`], ['ppp_password', 'p'.repeat(64)],
        ['ppp_password', 'a*?#$%&()+,-./:;<=>@[\\]^_{|}~'], ['dns1', '1.2.3.4'],
        ['dns1', '255.255.255.254'], ['mtu', '576'], ['mtu', '1500'], ['vlan', '0'], ['vlan', '4094']
    ];
    for (const [field, value] of taken)
        test(`${field} "${value}"`, async () => {
            const answer = await post('internet', {...connection, [field]: value});
            assert.deepEqual(refusalsOf(answer), []);
            assert.deepEqual(items(), {...defaults, [field]: `${value}\n`});
        });
});

describe('the connection refuses', () => {
    const user = 'Use ASCII letters, digits and marks, but no blanks or quotation marks, only.';
    const password = 'Use ASCII letters, digits and marks, but no blanks or quotation marks, and no * or ' +
        '? in front.';
    const bullets = 'Replace all bullets, or leave all of them.';
    const address = 'Enter an address of four numbers, such as 192.168.1.1.';
    const mtu = 'Enter a number from 576 to 1500 in digits.';
    const vlan = 'Enter a number from 0 to 4094 in digits.';
    const refused = [
        ['mode', '', 'Choose one of the options.'],
        ['mode', 'PPPOE', 'Choose one of the options.'],
        ['mode', 'pppoe2', 'Choose one of the options.'],
        ['mode', 'PPPoE (DSL)', 'Choose one of the options.'],
        ['provider', '', 'Choose one of the providers.'],
        ['provider', 'nobody', 'Choose one of the providers.'],
        ['provider', 'Example', 'Choose one of the providers.'],
        ['provider', 'Example Telecom', 'Choose one of the providers.'],
        ['provider', '@dsl.example', 'Choose one of the providers.'],
        ['provider', '../example', 'Choose one of the providers.'],
        ['provider', 'x'.repeat(5000), 'Choose one of the providers.'],
        ['ppp_user', '', 'PPPoE needs a user name.'],
        ['ppp_user', 'two words', user],
        ['ppp_user', 'a"b', user],
        ['ppp_user', "a'b", user],
        ['ppp_user', 'a`b', user],
        ['ppp_user', 'größe', user],
        ['ppp_user', 'a\nb', user],
        ['ppp_user', 'u'.repeat(65), 'Use 0 to 64 characters; these are 65.'],
        ['ppp_user', 'u'.repeat(5000), 'Use at most 64 characters.'],
        ['ppp_password', 'two words', password],
        ['ppp_password', 'a"b', password],
        ['ppp_password', '*secret', password],
        ['ppp_password', '?secret', password],
        ['ppp_password', 'größe', password],
        ['ppp_password', 'secret😀', password],
        // Of the bytes that a bullet is made of, but no bullets.
        ['ppp_password', '\u2880\u28a2', password],
        // One that cannot be stored as it is must not be passed over in silence.
        ['ppp_password', ' secret2', password],
        ['ppp_password', 'secret2 ', password],
        ['ppp_password', 'p'.repeat(65), 'Use at most 64 characters.'],
        ['ppp_password', '••••••x', bullets],
        ['ppp_password', 'x••••••', bullets],
        ['ppp_password', '•x•', bullets],
        ['dns1', '9.9.9', address],
        ['dns1', '9.9.9.9.9', address],
        ['dns1', '9.9.9.256', address],
        ['dns1', '9.9.9.09', address],
        ['dns1', '9.9.9.9 x', address],
        ['dns1', '0.0.0.0', address],
        ['dns1', '255.255.255.255', address],
        ['dns2', 'dns.example', address],
        ['dns2', '::1', address],
        ['mtu', '', mtu],
        ['mtu', '575', mtu],
        ['mtu', '1501', mtu],
        ['mtu', '-1492', mtu],
        ['mtu', '1492.0', mtu],
        ['mtu', '0x5d4', mtu],
        ['mtu', '4294968788', mtu],
        ['vlan', '', vlan],
        ['vlan', '4095', vlan],
        ['vlan', '-1', vlan],
        ['vlan', 'seven', vlan],
        ['vlan', '4294967303', vlan]
    ];
    for (const [field, value, why] of refused)
        test(`${field} "${value.length > 70 ? `${value.length} characters` : value}"`, async () => {
            const before = snapshot();
            const answer = await post('internet', {...connection, [field]: value});
            assert.deepEqual(refusalsOf(answer), [`${field}: ${why}`]);
            assert.deepEqual(messagesOf(answer),
                ['bad: Nothing was changed: 1 field needs another look. See below.']);
            assert.deepEqual(snapshot(), before);
        });

    for (const field of Object.values(labels))
        test(`a post without ${field}`, async () => {
            const before = snapshot();
            const {[field]: _, ...others} = connection;
            assert.deepEqual(refusalsOf(await post('internet', others)),
                [`${field}: This field did not arrive. Open the page again.`]);
            assert.deepEqual(snapshot(), before);
        });

    test('several fields at once, in the order of the page', async () => {
        const before = snapshot();
        const answer = await post('internet', {
            form: 'internet', mode: 'x', provider: 'x', ppp_user: 'x x', ppp_password: 'x x', dns1: 'x',
            dns2: 'x', mtu: 'x', vlan: 'x'
        });
        assert.deepEqual(refusalsOf(answer).map((text) => text.replace(/:.*/, '')),
            ['mode', 'provider', 'ppp_user', 'ppp_password', 'dns1', 'dns2', 'mtu', 'vlan']);
        assert.deepEqual(messagesOf(answer),
            ['bad: Nothing was changed: 8 fields need another look. See below.']);
        assert.deepEqual(snapshot(), before);
    });
});
