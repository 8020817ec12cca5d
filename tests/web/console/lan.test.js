// The LAN page: names, address, DHCP; static routes; the Ethernet ports and hardware addresses.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {item, launch, open, post, refusalsOf, reset, snapshot, stored} from './support.js';

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
        await page.visit('lan');
    });
    afterEach(() => page.check());
}

const network = {
    form: 'network', device_name: 'router', domain_name: 'home.example', address: '192.168.1.1',
    netmask: '255.255.255.0', dhcp: '1', dhcp_range: '100-199', dhcp_lease: '24'
};
const routes = {
    form: 'routes', route1: '', gateway1: '', route2: '', gateway2: '', route3: '', gateway3: ''
};
const ports = {form: 'ports', port1: '1', port2: '1', port3: '1', port4: '1', cloned_mac: ''};

describe('the network', () => {
    inBrowser();

    test('shows what is stored', async () => {
        assert.equal(await page.field('Device name').inputValue(), 'router');
        assert.equal(await page.field('Domain name').inputValue(), 'home.example');
        assert.equal(await page.field('IPv4 address').inputValue(), '192.168.1.1');
        assert.equal(await page.field('Netmask').inputValue(), '255.255.255.0');
        assert.equal(await page.field('Give addresses to devices of this network').isChecked(), true);
        assert.equal(await page.field('Addresses that are given').inputValue(), '100-199');
        assert.equal(await page.field('Hours until an address expires').inputValue(), '24');
    });

    test('stores every field, says so, and shows it after a reload', async () => {
        await page.field('Device name').fill('box-7');
        await page.field('Domain name').fill('lan.example.org');
        await page.field('IPv4 address').fill('10.0.0.254');
        await page.field('Netmask').fill('255.255.0.0');
        await page.field('Give addresses to devices of this network').uncheck();
        await page.field('Addresses that are given').fill('20-30');
        await page.field('Hours until an address expires').fill('720');
        await page.press('Save');
        assert.deepEqual(await page.messages(), [
            'Changed: Device name, Domain name, IPv4 address, Netmask, DHCP, First address, Last ' +
            'address, Hours until an address expires.'
        ]);
        await page.visit('lan');
        assert.equal(await page.field('Device name').inputValue(), 'box-7');
        assert.equal(await page.field('Give addresses to devices of this network').isChecked(), false);
        assert.equal(await page.field('Addresses that are given').inputValue(), '20-30');
        assert.equal(await page.tab.title(), 'LAN - box-7');
        assert.deepEqual(
            ['device_name', 'domain_name', 'address', 'netmask', 'dhcp', 'dhcp_low', 'dhcp_high',
                'dhcp_lease'].map((name) => item(`lan/${name}`)),
            ['box-7\n', 'lan.example.org\n', '10.0.0.254\n', '255.255.0.0\n', '0\n', '20\n', '30\n',
                '720\n']);
    });

    test('says what was changed and what was not, and logs it', async () => {
        await page.field('Hours until an address expires').fill('12');
        await page.press('Save');
        assert.deepEqual(await page.messages(), [
            'Changed: Hours until an address expires.',
            'Unchanged: Device name, Domain name, IPv4 address, Netmask, DHCP, First address, Last address.'
        ]);
        assert.match(stored('log'),
            /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d LAN: changed Hours until an address expires \(admin\)\n$/);
    });

    test('says that nothing was different', async () => {
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.equal(stored('log'), '');
    });

    test('keeps what was typed beside the refusals, and changes nothing', async () => {
        const before = snapshot();
        await page.field('Device name').fill('<my> router');
        await page.field('Domain name').fill('other.example');
        await page.field('Netmask').fill('255.0.255.0');
        await page.field('Give addresses to devices of this network').uncheck();
        await page.press('Save');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 2 fields need another look. See below.']);
        assert.deepEqual(await page.refusals(), [
            'device_name: Use letters, digits and, not in front, hyphens only.',
            'netmask: A netmask is ones, then zeros: 255.255.255.0 for most networks.'
        ]);
        assert.equal(await page.field('Device name').inputValue(), '<my> router');
        assert.equal(await page.field('Domain name').inputValue(), 'other.example');
        assert.equal(await page.field('Netmask').inputValue(), '255.0.255.0');
        assert.equal(await page.field('Give addresses to devices of this network').isChecked(), false);
        assert.equal(await page.field('Port 1').isChecked(), true, 'another form shows what is stored');
        assert.equal(await page.field('Device name').getAttribute('aria-invalid'), 'true');
        assert.equal(await page.field('Device name').getAttribute('aria-describedby'),
            'device_name-error device_name-hint');
        assert.deepEqual(snapshot(), before);
    });
});

describe('the network refuses', () => {
    const refused = [
        ['device_name', '', 'Enter 1 to 32 characters.'],
        ['device_name', '-router', 'Use letters, digits and, not in front, hyphens only.'],
        ['device_name', 'a'.repeat(33), 'Use 1 to 32 characters; these are 33.'],
        ['domain_name', 'a_b', 'Use letters, digits, hyphens and dots only.'],
        ['domain_name', 'a'.repeat(65), 'Use 0 to 64 characters; these are 65.'],
        ['address', '', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '192.168.1', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '192.168.1.256', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '192.168.01.1', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '192.168.1.1x', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '0.0.0.0', 'Enter an address of four numbers, such as 192.168.1.1.'],
        ['address', '192.168.1.0', 'With this netmask, no device can have this address.'],
        ['address', '192.168.1.255', 'With this netmask, no device can have this address.'],
        ['netmask', '255.255.255.254', 'A netmask is ones, then zeros: 255.255.255.0 for most networks.'],
        ['netmask', '254.0.0.0', 'A netmask is ones, then zeros: 255.255.255.0 for most networks.'],
        ['dhcp_range', '199-100', 'Enter two numbers from 1 to 254, the smaller one first: 100-199.'],
        ['dhcp_range', '0-9', 'Enter two numbers from 1 to 254, the smaller one first: 100-199.'],
        ['dhcp_range', '9-255', 'Enter two numbers from 1 to 254, the smaller one first: 100-199.'],
        ['dhcp_range', '9', 'Enter two numbers from 1 to 254, the smaller one first: 100-199.'],
        ['dhcp_lease', '0', 'Enter a number from 1 to 720 in digits.'],
        ['dhcp_lease', '721', 'Enter a number from 1 to 720 in digits.'],
        ['dhcp_lease', '1h', 'Enter a number from 1 to 720 in digits.'],
        ['dhcp_lease', '4294967297', 'Enter a number from 1 to 720 in digits.']
    ];
    for (const [field, value, why] of refused)
        test(`${field} "${value}"`, async () => {
            const before = snapshot();
            assert.deepEqual(refusalsOf(await post('lan', {...network, [field]: value})),
                [`${field}: ${why}`]);
            assert.deepEqual(snapshot(), before);
        });

    test('a field that did not arrive', async () => {
        const before = snapshot();
        const {dhcp_lease: _, ...others} = network;
        assert.deepEqual(refusalsOf(await post('lan', others)),
            ['dhcp_lease: This field did not arrive. Open the page again.']);
        assert.deepEqual(snapshot(), before);
    });
});

describe('static routes', () => {
    inBrowser();

    test('stores a route, and removes it again', async () => {
        await page.field('Network 2').fill('10.1.0.0/16');
        await page.field('Gateway 2').fill('192.168.1.9');
        await page.press('Save routes');
        assert.deepEqual((await page.messages())[0], 'Changed: Network 2, Gateway 2.');
        assert.deepEqual([item('lan/route2'), item('lan/gateway2')], ['10.1.0.0/16\n', '192.168.1.9\n']);
        await page.visit('lan');
        assert.equal(await page.field('Network 2').inputValue(), '10.1.0.0/16');
        await page.field('Network 2').fill('');
        await page.field('Gateway 2').fill('');
        await page.press('Save routes');
        assert.deepEqual([item('lan/route2'), item('lan/gateway2')], ['\n', '\n']);
    });
});

describe('static routes refuse', () => {
    const refused = [
        [{route1: '10.1.0.0', gateway1: '192.168.1.9'},
            'route1: Enter a network and its length, such as 10.1.0.0/16.'],
        [{route1: '10.1.0.0/33', gateway1: '192.168.1.9'},
            'route1: Enter a network and its length, such as 10.1.0.0/16.'],
        [{route1: '10.1/16', gateway1: '192.168.1.9'},
            'route1: Enter a network and its length, such as 10.1.0.0/16.'],
        [{route1: '10.1.0.1/16', gateway1: '192.168.1.9'},
            'route1: The address has bits behind its length: a network ends in zeros.'],
        [{route3: '10.1.0.0/16'},
            'gateway3: A route needs both a network and the gateway that leads there.'],
        [{gateway3: '192.168.1.9'},
            'route3: A route needs both a network and the gateway that leads there.']
    ];
    for (const [fields, why] of refused)
        test(`${JSON.stringify(fields)}`, async () => {
            const before = snapshot();
            assert.deepEqual(refusalsOf(await post('lan', {...routes, ...fields})), [why]);
            assert.deepEqual(snapshot(), before);
        });
});

describe('the ports', () => {
    inBrowser();

    test('powers a port down and up, and its link follows', async () => {
        assert.equal(await page.tab.locator('#port1-hint').textContent(), 'connected');
        assert.equal(await page.tab.locator('#port3-hint').textContent(), 'not connected');
        await page.field('Port 1').uncheck();
        await page.press('Save ports');
        assert.equal((await page.messages())[0], 'Changed: Port 1.');
        assert.equal(item('lan/port1'), '0\n');
        assert.equal(await page.tab.locator('#port1-hint').textContent(), 'not connected');
        assert.equal(await page.field('Port 1').isChecked(), false);
        await page.field('Port 1').check();
        await page.press('Save ports');
        assert.equal(item('lan/port1'), '1\n');
        assert.equal(await page.tab.locator('#port1-hint').textContent(), 'connected');
    });

    test('stores a hardware address in capitals, with hyphens', async () => {
        await page.field('Hardware address that the provider sees').fill('02:00:5e:10:00:0a');
        await page.press('Save ports');
        assert.equal(item('lan/cloned_mac'), '02-00-5E-10-00-0A\n');
        assert.equal(await page.field('Hardware address that the provider sees').inputValue(),
            '02-00-5E-10-00-0A');
        await page.field('Hardware address that the provider sees').fill('');
        await page.press('Save ports');
        assert.equal(item('lan/cloned_mac'), '\n');
    });
});

describe('the ports refuse', () => {
    for (const address of ['02-00-5E-10-00', '0-1-2-3-4-5', '00-00-00-00-00-00', 'FF-FF-FF-FF-FF-FF',
        '02-00-5E-10-00-0G'])
        test(`the hardware address ${address}`, async () => {
            const before = snapshot();
            assert.deepEqual(refusalsOf(await post('lan', {...ports, cloned_mac: address})), [
                'cloned_mac: Enter six pairs of hexadecimal digits, such as 02-00-5E-10-00-01.'
            ]);
            assert.deepEqual(snapshot(), before);
        });
});
