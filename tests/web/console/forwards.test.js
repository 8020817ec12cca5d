// The port forwards page: rows that are added, edited, moved, sorted and deleted, and their file.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {launch, messagesOf, open, post, refusalsOf, reset, send, site, snapshot, state, stored}
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
        await page.visit('forwards');
    });
    afterEach(() => page.check());
}

// The file: a line for each field of a row, and an empty one behind the row.
const web = ['Web server', 'tcp', 1, 80, 80, '192.168.1.20', 8080];
const game = ['Game console', 'udp', 1, 3074, 3079, '192.168.1.35', 3074];
const camera = ['Camera', 'both', 0, 8554, 8554, '192.168.1.41', 554];
const text = (...rows) => rows.map((fields) => `${fields.join('\n')}\n\n`).join('');
const file = () => stored('forwards.db');
const setFile = (...rows) => fs.writeFileSync(path.join(state, 'forwards.db'), text(...rows));

// Rows that share no port: "Row 1" has port 1001, and so on.
const many = (count) => Array.from({length: count}, (_, i) =>
    [`Row ${i + 1}`, 'tcp', 1, 1001 + i, 1001 + i, '192.168.1.9', 80]);

const version = async () => /name="version" value="([^"]+)"/.exec((await send('/forwards.cgi')).body)[1];
const act = async (action, fields = {}) =>
    post('forwards', {form: 'list', version: await version(), action, ...fields});
const fresh = {
    row: '0', name: 'Mail', protocol: 'tcp', ports: '25', address: '192.168.1.25', target: '2525', on: '1'
};
const submit = async (fields) => post('forwards', {form: 'row', version: await version(), ...fields});
const log = () => stored('log').replace(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d /gm, '');

const stale = 'The list was changed meanwhile, and nothing was done. Look at it again.';

// The cells of the table, row by row, without the one of the buttons.
const cells = () => page.tab.locator('tbody tr').evaluateAll((rows) =>
    rows.map((row) => [...row.cells].slice(0, 4).map((cell) => cell.textContent)));
const buttonOf = (name) => page.tab.getByRole('button', {name, exact: true});
const edit = (name) => Promise.all([
    page.tab.waitForEvent('load'), page.tab.getByRole('link', {name: `Edit ${name}`, exact: true}).click()
]);

// What the form of one row shows.
async function shown() {
    return {
        row: await page.tab.locator('input[name=row]').inputValue(),
        name: await page.field('Name').inputValue(),
        protocol: await page.field('Protocol').inputValue(),
        ports: await page.field('Ports outside').inputValue(),
        address: await page.field('To address').inputValue(),
        target: await page.field('Port there').inputValue(),
        on: await page.field('Switched on').isChecked()
    };
}
const empty = {row: '0', name: '', protocol: 'tcp', ports: '', address: '', target: '', on: true};

async function fill({name, protocol, ports, address, target, on}) {
    await page.field('Name').fill(name);
    await page.field('Protocol').selectOption(protocol);
    await page.field('Ports outside').fill(ports);
    await page.field('To address').fill(address);
    await page.field('Port there').fill(target);
    await page.field('Switched on').setChecked(on);
}

describe('the list', () => {
    inBrowser();

    test('shows what is stored', async () => {
        assert.deepEqual(await cells(), [
            ['Web server', 'TCP', '80', '192.168.1.20:8080'],
            ['Game console', 'UDP', '3074-3079', '192.168.1.35:3074'],
            ['Camera', 'TCP and UDP', '8554', '192.168.1.41:554']
        ]);
        assert.deepEqual(await page.tab.locator('tr.off th').allTextContents(), ['Camera']);
        assert.deepEqual(await shown(), empty);
    });

    test('moves rows up and down', async () => {
        await page.press('Move up Camera');
        assert.deepEqual(await page.messages(), ['Moved up: Camera.']);
        assert.equal(file(), text(web, camera, game));
        assert.deepEqual((await cells()).map(([name]) => name), ['Web server', 'Camera', 'Game console']);
        await page.press('Move down Web server');
        assert.deepEqual(await page.messages(), ['Moved down: Web server.']);
        assert.equal(file(), text(camera, web, game));
        await page.visit('forwards');
        assert.deepEqual((await cells()).map(([name]) => name), ['Camera', 'Web server', 'Game console']);
        assert.equal(log(), 'Port forwards: Moved up: Camera (admin)\n' +
            'Port forwards: Moved down: Web server (admin)\n');
    });

    test('does not move the first row up and the last one down', async () => {
        assert.equal(await buttonOf('Move up Web server').isDisabled(), true);
        assert.equal(await buttonOf('Move down Web server').isDisabled(), false);
        assert.equal(await buttonOf('Move up Game console').isDisabled(), false);
        assert.equal(await buttonOf('Move down Game console').isDisabled(), false);
        assert.equal(await buttonOf('Move up Camera').isDisabled(), false);
        assert.equal(await buttonOf('Move down Camera').isDisabled(), true);
    });

    test('sorts by name, whatever the letters, and then by port', async () => {
        const rows = [
            ['beta', 'tcp', 1, 90, 90, '192.168.1.9', 1], ['Alpha', 'tcp', 1, 900, 900, '192.168.1.9', 1],
            ['alpha', 'tcp', 1, 100, 200, '192.168.1.9', 1], ['Beta', 'tcp', 1, 80, 80, '192.168.1.9', 1]
        ];
        setFile(...rows);
        await page.visit('forwards');
        await page.press('Sort by name');
        assert.deepEqual(await page.messages(), ['Sorted by name.']);
        assert.equal(file(), text(rows[2], rows[1], rows[3], rows[0]));
        assert.equal(log(), 'Port forwards: Sorted by name (admin)\n');
    });

    test('deletes rows until there are none', async () => {
        await page.press('Delete Game console');
        assert.deepEqual(await page.messages(), ['Deleted: Game console.']);
        assert.equal(file(), text(web, camera));
        await page.press('Delete Web server');
        assert.equal(file(), text(camera));
        assert.equal(await buttonOf('Sort by name').count(), 0, 'one row needs no order');
        assert.equal(await buttonOf('Move up Camera').isDisabled(), true);
        assert.equal(await buttonOf('Move down Camera').isDisabled(), true);
        await page.press('Delete Camera');
        assert.equal(file(), '');
        assert.equal(await page.tab.getByText('None yet.', {exact: true}).count(), 1);
        assert.equal(log(), ['Game console', 'Web server', 'Camera'].map((name) =>
            `Port forwards: Deleted: ${name} (admin)\n`).join(''));
        await fill({...fresh, on: true});
        await page.press('Add');
        assert.equal(file(), text(['Mail', 'tcp', 1, 25, 25, '192.168.1.25', 2525]));
    });

    test('does nothing when it was changed meanwhile', async () => {
        await act('delete-1');
        const before = snapshot();
        await page.press('Delete Web server');
        assert.deepEqual(await page.messages(), [stale]);
        assert.deepEqual((await cells()).map(([name]) => name), ['Game console', 'Camera']);
        assert.deepEqual(snapshot(), before);
        await page.press('Delete Game console');
        assert.equal(file(), text(camera), 'the list that is shown then is the current one');
    });

    test('takes a page whose list was changed and is the same again', async () => {
        const old = await version();
        await act('up-3');
        assert.notEqual(await version(), old);
        await act('down-2');
        assert.equal(file(), text(web, game, camera));
        await page.press('Move up Camera');
        assert.equal(file(), text(web, camera, game), 'nothing that is shown differs');
    });
});

describe('a new row', () => {
    inBrowser();

    test('is added behind the others, and shown after a reload', async () => {
        await fill({
            name: 'Two-way radio 7', protocol: 'both', ports: '8000-8010', address: '10.0.0.1',
            target: '65535', on: true
        });
        await page.press('Add');
        assert.deepEqual(await page.messages(), ['Added: Two-way radio 7.']);
        assert.equal(file(),
            text(web, game, camera, ['Two-way radio 7', 'both', 1, 8000, 8010, '10.0.0.1', 65535]));
        assert.deepEqual(await shown(), empty, 'another one can be added');
        assert.equal(log(), 'Port forwards: Added: Two-way radio 7 (admin)\n');
        await page.visit('forwards');
        assert.deepEqual((await cells())[3],
            ['Two-way radio 7', 'TCP and UDP', '8000-8010', '10.0.0.1:65535']);
    });

    test('can be switched off', async () => {
        await fill({...fresh, protocol: 'udp', on: false});
        await page.press('Add');
        assert.equal(file(), text(web, game, camera, ['Mail', 'udp', 0, 25, 25, '192.168.1.25', 2525]));
        assert.deepEqual(await page.tab.locator('tr.off th').allTextContents(), ['Camera', 'Mail']);
    });

    test('keeps what was typed beside the refusals, and changes nothing', async () => {
        const before = snapshot();
        const typed = {
            name: '<Mail>', protocol: 'udp', ports: '9-8', address: '1.2.3', target: '0', on: false
        };
        await fill(typed);
        await page.press('Add');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 4 fields need another look. See below.']);
        assert.deepEqual(await page.refusals(), [
            'name: Use letters, digits and, not in front, blanks and hyphens only.',
            'ports: Enter one port from 1 to 65535, or two: 8000-8010.',
            'address: Enter an address of four numbers, such as 192.168.1.1.',
            'target: Enter a number from 1 to 65535 in digits.'
        ]);
        assert.deepEqual(await shown(), {row: '0', ...typed});
        assert.equal(await page.field('Name').getAttribute('aria-describedby'), 'name-error name-hint');
        assert.equal(await page.tab.evaluate(() => document.activeElement.name), 'name');
        assert.deepEqual(snapshot(), before);
    });

    test('is refused when its ports are taken, with the name of the other row', async () => {
        const before = snapshot();
        await fill({...fresh, protocol: 'both', ports: '3079-3081', on: false});
        await page.press('Add');
        assert.deepEqual(await page.refusals(), ['ports: These ports are taken by Game console.']);
        assert.equal(await page.field('Ports outside').inputValue(), '3079-3081');
        assert.equal(await page.field('Protocol').inputValue(), 'both');
        assert.deepEqual(snapshot(), before);
        await page.field('Ports outside').fill('3080-3081');
        await page.press('Add');
        assert.deepEqual(await page.messages(), ['Added: Mail.']);
    });

    test('does nothing when the list was changed meanwhile', async () => {
        await fill({...fresh, on: false});
        await act('up-3');
        const before = snapshot();
        await page.press('Add');
        assert.deepEqual(await page.messages(), [stale]);
        assert.deepEqual(snapshot(), before);
    });

    // Nobody likes to type it twice: the list needs another look, the row does not.
    test('keeps what was typed when the list was changed meanwhile', async () => {
        await fill({...fresh, on: false});
        await act('up-3');
        await page.press('Add');
        assert.deepEqual(await shown(), {...fresh, on: false});
    });

    test('is the 32nd at most', async () => {
        const rows = many(31);
        setFile(...rows);
        await page.visit('forwards');
        await fill({...fresh, on: true});
        await page.press('Add');
        const mail = ['Mail', 'tcp', 1, 25, 25, '192.168.1.25', 2525];
        assert.equal(file(), text(...rows, mail));
        const before = snapshot();
        const one = {name: 'One too many', protocol: 'udp', ports: '99', address: '10.0.0.9', target: '1'};
        await fill({...one, on: false});
        await page.press('Add');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 1 field needs another look. See below.']);
        assert.deepEqual(await page.refusals(), ['name: The list is full.']);
        assert.deepEqual(await shown(), {row: '0', ...one, on: false});
        assert.deepEqual(snapshot(), before);
        await page.press('Delete Row 31');
        await fill({...one, on: true});
        await page.press('Add');
        assert.equal(file(), text(...rows.slice(0, 30), mail,
            ['One too many', 'udp', 1, 99, 99, '10.0.0.9', 1]));
    });
});

describe('a row', () => {
    inBrowser();

    test('is shown as it is stored when it is edited', async () => {
        await edit('Camera');
        assert.equal(await page.tab.getByText('Edit a port forward', {exact: true}).count(), 1);
        assert.deepEqual(await shown(), {
            row: '3', name: 'Camera', protocol: 'both', ports: '8554', address: '192.168.1.41',
            target: '554', on: false
        });
        await edit('Game console');
        assert.deepEqual(await shown(), {
            row: '2', name: 'Game console', protocol: 'udp', ports: '3074-3079', address: '192.168.1.35',
            target: '3074', on: true
        });
    });

    test('is stored with every field, in its place', async () => {
        await edit('Game console');
        await fill({
            name: 'Other console', protocol: 'tcp', ports: '81', address: '10.0.0.2', target: '82', on: false
        });
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Changed: Other console.']);
        assert.equal(file(), text(web, ['Other console', 'tcp', 0, 81, 81, '10.0.0.2', 82], camera));
        assert.equal(log(), 'Port forwards: Changed: Other console (admin)\n');
        assert.deepEqual(await shown(), empty);
        await page.visit('forwards');
        assert.deepEqual((await cells())[1], ['Other console', 'TCP', '81', '10.0.0.2:82']);
    });

    const changes = [
        ['Name', 'fill', 'Web 2', 0, 'Web 2'], ['Protocol', 'selectOption', 'udp', 1, 'udp'],
        ['Switched on', 'uncheck', undefined, 2, 0],
        ['To address', 'fill', '192.168.1.21', 5, '192.168.1.21'],
        ['Port there', 'fill', '81', 6, 81]
    ];
    for (const [label, change, argument, place, value] of changes)
        test(`is stored with another ${label} alone`, async () => {
            await edit('Web server');
            await page.field(label)[change](argument);
            await page.press('Save');
            assert.deepEqual(await page.messages(),
                [`Changed: ${place === 0 ? value : 'Web server'}.`]);
            assert.equal(file(), text(web.with(place, value), game, camera));
        });

    test('may overlap what it took before', async () => {
        await edit('Game console');
        await page.field('Ports outside').fill('3075-3080');
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Changed: Game console.']);
        assert.equal(file(), text(web, game.with(3, 3075).with(4, 3080), camera));
    });

    test('may not take the ports of another one', async () => {
        const before = snapshot();
        await edit('Game console');
        await page.field('Ports outside').fill('8554');
        await page.press('Save');
        assert.deepEqual(await page.refusals(), ['ports: These ports are taken by Camera.']);
        assert.equal(await page.tab.getByText('Edit a port forward', {exact: true}).count(), 1);
        assert.equal((await shown()).row, '2', 'the same row stays open');
        assert.deepEqual(snapshot(), before);
        await page.field('Ports outside').fill('8555');
        await page.press('Save');
        assert.equal(file(), text(web, game.with(3, 8555).with(4, 8555), camera));
    });

    // What was not changed is not said to be, here as on every page.
    test('that is saved as it was is not called changed', async () => {
        const before = snapshot();
        await edit('Web server');
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.deepEqual(snapshot(), before);
    });

    test('can be edited when the list is full', async () => {
        setFile(...many(32));
        await page.visit('forwards');
        await edit('Row 32');
        await page.field('Name').fill('Last');
        await page.press('Save');
        assert.deepEqual(await page.messages(), ['Changed: Last.']);
        assert.equal(file(), text(...many(31), many(32)[31].with(0, 'Last')));
    });

    test('is not changed when the list was changed meanwhile', async () => {
        await edit('Camera');
        await page.field('Name').fill('Other camera');
        await act('delete-1');
        const before = snapshot();
        await page.press('Save');
        assert.deepEqual(await page.messages(), [stale]);
        assert.deepEqual(snapshot(), before);
    });

    for (const number of ['0', '4', '99', 'x', '-1', '', '4294967299'])
        test(`that does not exist is not edited: "${number}"`, async () => {
            await page.tab.goto(`${site}/forwards.cgi?edit=${number}`);
            assert.deepEqual(await shown(), empty);
            assert.equal(await page.tab.getByText('Add a port forward', {exact: true}).count(), 1);
        });
});

describe('a row takes', () => {
    const taken = [
        ['name', 'n'.repeat(32)], ['name', 'a'], ['name', '7 a-b  c--'], ['protocol', 'udp'],
        ['protocol', 'both'], ['ports', '1'], ['ports', '65535'], ['ports', '1-2'], ['address', '1.2.3.4'],
        ['target', '1'], ['target', '65535']
    ];
    for (const [field, value] of taken)
        test(`${field} "${value}"`, async () => {
            const answer = await submit({...fresh, [field]: value});
            const row = {...fresh, [field]: value};
            const [low, high = low] = row.ports.split('-');
            assert.deepEqual(messagesOf(answer), [`good: Added: ${row.name}.`]);
            assert.equal(file(), text(web, game, camera,
                [row.name, row.protocol, 1, low, high, row.address, row.target]));
        });

    // Ports of the one protocol are not those of the other.
    const free = [['udp', '80'], ['tcp', '3074-3079'], ['udp', '3073'], ['udp', '3080'], ['both', '81-3073'],
        ['tcp', '79'], ['tcp', '81-8553'], ['both', '8555-65535']];
    for (const [protocol, ports] of free)
        test(`the free ports ${ports} of ${protocol}`, async () => {
            assert.deepEqual(messagesOf(await submit({...fresh, protocol, ports})), ['good: Added: Mail.']);
        });

    test('the same two ports as one', async () => {
        await submit({...fresh, ports: '25-25'});
        assert.equal(file(), text(web, game, camera, ['Mail', 'tcp', 1, 25, 25, '192.168.1.25', 2525]));
    });
});

describe('a row refuses', () => {
    const name = 'Use letters, digits and, not in front, blanks and hyphens only.';
    const option = 'Choose one of the options.';
    const ports = 'Enter one port from 1 to 65535, or two: 8000-8010.';
    const address = 'Enter an address of four numbers, such as 192.168.1.1.';
    const target = 'Enter a number from 1 to 65535 in digits.';
    const refused = [
        ['name', '', 'Enter 1 to 32 characters.'],
        ['name', '   ', 'Enter 1 to 32 characters.'],
        ['name', '-Mail', name],
        ['name', '#Mail', name],
        ['name', 'Büro', name],
        ['name', 'a_b', name],
        ['name', 'a\nb', name],
        ['name', 'Mail😀', name],
        ['name', '"Mail"', name],
        ['name', 'n'.repeat(33), 'Use 1 to 32 characters; these are 33.'],
        ['protocol', '', option],
        ['protocol', 'TCP', option],
        ['protocol', 'icmp', option],
        ['protocol', 'tcp\nudp', option],
        ['ports', '', ports],
        ['ports', '0', ports],
        ['ports', '65536', ports],
        ['ports', '0-9', ports],
        ['ports', '9-65536', ports],
        ['ports', '8010-8000', ports],
        ['ports', '025', ports],
        ['ports', '25-', ports],
        ['ports', '-25', ports],
        ['ports', '25:26', ports],
        ['ports', '25 - 26', ports],
        ['ports', '25,26', ports],
        ['ports', '25-26-27', ports],
        ['ports', 'smtp', ports],
        ['ports', '4294967321', ports],
        ['ports', '25-4294967322', ports],
        ['address', '', address],
        ['address', '192.168.1', address],
        ['address', '192.168.1.256', address],
        ['address', '0.0.0.0', address],
        ['address', '255.255.255.255', address],
        ['address', 'mail', address],
        ['target', '', target],
        ['target', '0', target],
        ['target', '65536', target],
        ['target', '25-26', target],
        ['target', '-1', target],
        ['target', '4294967321', target]
    ];
    for (const row of ['0', '2'])
        for (const [field, value, why] of refused)
            test(`${field} ${JSON.stringify(value)}, ${row === '0' ? 'new' : 'edited'}`, async () => {
                const before = snapshot();
                const answer = await submit({...fresh, row, [field]: value});
                assert.deepEqual(refusalsOf(answer), [`${field}: ${why}`]);
                assert.deepEqual(messagesOf(answer),
                    ['bad: Nothing was changed: 1 field needs another look. See below.']);
                assert.deepEqual(snapshot(), before);
            });

    const taken = [
        ['tcp', '80', 'Web server'], ['both', '80', 'Web server'], ['tcp', '1-80', 'Web server'],
        ['tcp', '80-81', 'Web server'], ['tcp', '1-65535', 'Web server'], ['udp', '3079', 'Game console'],
        ['udp', '3070-3074', 'Game console'], ['udp', '3075-3076', 'Game console'],
        ['both', '3074', 'Game console'], ['tcp', '8554', 'Camera'], ['udp', '8554', 'Camera'],
        ['udp', '8000-9000', 'Camera']
    ];
    for (const [protocol, range, other] of taken)
        test(`the ports ${range} of ${protocol}, taken by ${other}`, async () => {
            const before = snapshot();
            assert.deepEqual(refusalsOf(await submit({...fresh, protocol, ports: range})),
                [`ports: These ports are taken by ${other}.`]);
            assert.deepEqual(snapshot(), before);
        });

    for (const field of ['name', 'protocol', 'ports', 'address', 'target'])
        test(`a post without ${field}`, async () => {
            const before = snapshot();
            const {[field]: _, ...others} = fresh;
            assert.deepEqual(refusalsOf(await submit(others)),
                [`${field}: This field did not arrive. Open the page again.`]);
            assert.deepEqual(snapshot(), before);
        });

    // A number that is none must neither be another one nor mean a new row.
    for (const row of ['4', '99', '4294967297', '4294967296', '-1', '1x', 'x', ''])
        test(`the row number "${row}"`, async () => {
            const before = snapshot();
            assert.deepEqual(messagesOf(await submit({...fresh, row})),
                ['bad: This row is not there any more.']);
            assert.deepEqual(snapshot(), before);
        });

    test('a post without a row number', async () => {
        const before = snapshot();
        const {row: _, ...others} = fresh;
        assert.match(messagesOf(await submit(others))[0], /^bad: /);
        assert.deepEqual(snapshot(), before);
    });

    for (const version of ['', '0', 'x'])
        test(`the version "${version}"`, async () => {
            const before = snapshot();
            assert.deepEqual(messagesOf(await submit({...fresh, version})), [`bad: ${stale}`]);
            assert.deepEqual(messagesOf(await act('delete-1', {version})), [`bad: ${stale}`]);
            assert.deepEqual(snapshot(), before);
        });

    test('a post without a version', async () => {
        const before = snapshot();
        assert.deepEqual(messagesOf(await post('forwards', {form: 'row', ...fresh})), [`bad: ${stale}`]);
        assert.deepEqual(messagesOf(await post('forwards', {form: 'list', action: 'delete-1'})),
            [`bad: ${stale}`]);
        assert.deepEqual(snapshot(), before);
    });
});

describe('the list refuses', () => {
    const actions = ['up-1', 'down-3', 'up-0', 'up-4', 'down-0', 'down-4', 'delete-0', 'delete-4',
        'delete-99', 'delete', 'delete-', 'delete--1', 'delete- 1', 'delete-x', 'delete-1x',
        'delete-4294967297', 'up-4294967298', 'Delete-1', 'edit-1', '', '-', '-1'];
    for (const action of actions)
        test(`the action "${action}"`, async () => {
            const before = snapshot();
            assert.deepEqual(messagesOf(await act(action)), ['bad: That cannot be done with this row.']);
            assert.deepEqual(snapshot(), before);
        });

    test('a post without an action', async () => {
        const before = snapshot();
        const answer = await post('forwards', {form: 'list', version: await version()});
        assert.deepEqual(messagesOf(answer), ['bad: That cannot be done with this row.']);
        assert.deepEqual(snapshot(), before);
    });
});

describe('a read-only user', () => {
    test('sees the list without buttons, links and a form for rows', async () => {
        page = await open(browser, {user: 'viewer'});
        for (const address of ['forwards.cgi', 'forwards.cgi?edit=1']) {
            await page.tab.goto(`${site}/${address}`);
            assert.deepEqual((await cells()).map(([name]) => name),
                ['Web server', 'Game console', 'Camera']);
            assert.deepEqual(await page.tab.locator('thead th').allTextContents(),
                ['Name', 'Protocol', 'Ports', 'To']);
            assert.equal(await page.tab.locator('main button, main input:not([type=hidden])').count(), 0);
            assert.equal(await page.tab.locator('main a').count(), 0);
            assert.equal(await page.tab.getByText('Add a port forward', {exact: true}).count(), 0);
        }
        await page.check();
    });

    test('changes nothing with a forged post', async () => {
        const before = snapshot();
        const current = await version();
        for (const fields of [{form: 'list', action: 'delete-1'}, {form: 'list', action: 'sort'},
            {form: 'row', ...fresh}, {form: 'row', ...fresh, row: '1'}]) {
            const answer = await post('forwards', {...fields, version: current}, {user: 'viewer'});
            assert.equal(answer.status, 403);
            assert.deepEqual(messagesOf(answer),
                ['bad: You may look at this page, but not change anything here.']);
        }
        assert.deepEqual(snapshot(), before);
    });
});
