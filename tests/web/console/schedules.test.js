// The schedules page: what the clock switches on and off, on which days, and the cron lines of it.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {item, launch, messagesOf, open, post, refusalsOf, reset, setItem, snapshot, stored}
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
        await page.visit('schedules');
    });
    afterEach(() => page.check());
}

// The name of the input that has the cursor.
const focused = () => page.tab.evaluate(() => document.activeElement.name);

const days = ['Mon', 'Tue', 'Wed', 'Thu', 'Fri', 'Sat', 'Sun'];
const switches = {wifi: 'Switch Wi-Fi by the clock', guests: 'Switch the guest network by the clock'};

// Both schedules have the same labels: a field is looked for in its form.
const form = (name) => page.tab.locator(`#${name}`);
const box = (name, label) => form(name).getByLabel(label, {exact: true});
const save = (name) => Promise.all([
    page.tab.waitForEvent('load'), form(name).getByRole('button', {name: 'Save', exact: true}).click()
]);

async function choose(name, wanted) {
    for (const day of days)
        await box(name, day).setChecked(wanted.includes(day));
}

// What a form shows.
async function shown(name) {
    const checked = [];
    for (const day of days)
        checked.push(await box(name, day).isChecked());
    return [
        await box(name, switches[name]).isChecked(), await box(name, 'On from').inputValue(),
        await box(name, 'Off at').inputValue(), days.filter((_, i) => checked[i]).join(' ')
    ];
}

// The cron lines that a form shows; null when it says that there are none.
async function cron(name) {
    const lines = form(name).locator('pre');
    if (await lines.count() > 0)
        return (await lines.textContent()).trimEnd().split('\n');
    assert.equal(await form(name).getByText('Switched off: cron gets no lines.').count(), 1);
    return null;
}

const items = (name) => ['on', 'from', 'to', 'days'].map((part) => item(`schedules/${name}_${part}`));
const wifi = {
    form: 'wifi', wifi_on: '1', wifi_from: '6:30', wifi_to: '23:00', wifi_mon: '1', wifi_tue: '1',
    wifi_wed: '1', wifi_thu: '1', wifi_fri: '1'
};
const guests = {
    form: 'guests', guests_from: '8:00', guests_to: '20:00', guests_mon: '1', guests_tue: '1',
    guests_wed: '1', guests_thu: '1', guests_fri: '1', guests_sat: '1', guests_sun: '1'
};
const defaults = {
    wifi: ['1\n', '6:30\n', '23:00\n', '62\n'], guests: ['0\n', '8:00\n', '20:00\n', '127\n']
};
const everyDay = days.join(' ');
const workdays = 'Mon Tue Wed Thu Fri';

describe('the schedules', () => {
    inBrowser();

    test('show what is stored, and its cron lines', async () => {
        assert.deepEqual(await shown('wifi'), [true, '6:30', '23:00', workdays]);
        assert.deepEqual(await shown('guests'), [false, '8:00', '20:00', everyDay]);
        assert.deepEqual(await cron('wifi'), ['30 6 * * 1,2,3,4,5 wifi up', '0 23 * * 1,2,3,4,5 wifi down']);
        assert.equal(await cron('guests'), null);
    });

    test('name their days in the order of a week, as one group', async () => {
        const group = form('guests').getByRole('group', {name: 'On these days', exact: true});
        const boxes = await group.locator('label').all();
        assert.deepEqual(await Promise.all(boxes.map(async (label) => (await label.textContent()).trim())),
            days);
    });

    test('store every field, say so, and show it after a reload', async () => {
        await box('guests', switches.guests).check();
        await box('guests', 'On from').fill('17:05');
        await box('guests', 'Off at').fill('0:00');
        await choose('guests', ['Sat', 'Sun']);
        await save('guests');
        assert.deepEqual(await page.messages(), [
            'Changed: Guest network schedule, Guest network on, Guest network off, Guest network days.'
        ]);
        assert.deepEqual(items('guests'), ['1\n', '17:05\n', '0:00\n', '65\n']);
        assert.deepEqual(items('wifi'), defaults.wifi, 'the other schedule stays');
        await page.visit('schedules');
        assert.deepEqual(await shown('guests'), [true, '17:05', '0:00', 'Sat Sun']);
        assert.deepEqual(await cron('guests'), ['5 17 * * 0,6 guests up', '0 0 * * 0,1 guests down']);
        assert.deepEqual(await shown('wifi'), [true, '6:30', '23:00', workdays]);
    });

    test('say that nothing was different', async () => {
        await save('wifi');
        assert.deepEqual(await page.messages(), ['Nothing was different: everything stays as it was.']);
        assert.deepEqual(items('wifi'), defaults.wifi);
        assert.equal(stored('log'), '');
    });

    const changes = [
        ['schedule', 0, '0', () => box('wifi', switches.wifi).uncheck()],
        ['on', 1, '7:05', () => box('wifi', 'On from').fill('7:05')],
        ['off', 2, '22:59', () => box('wifi', 'Off at').fill('22:59')],
        ['days', 3, '63', () => box('wifi', 'Sun').check()]
    ];
    for (const [what, place, value, change] of changes)
        test(`change only Wi-Fi ${what}, say what stays, and log it`, async () => {
            await change();
            await save('wifi');
            const others = ['schedule', 'on', 'off', 'days'].filter((other) => other !== what);
            assert.deepEqual(await page.messages(), [
                `Changed: Wi-Fi ${what}.`,
                `Unchanged: ${others.map((other) => `Wi-Fi ${other}`).join(', ')}.`
            ]);
            assert.deepEqual(items('wifi'), defaults.wifi.with(place, `${value}\n`));
            assert.deepEqual(items('guests'), defaults.guests);
            const line = stored('log').replace(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d /, '');
            assert.equal(line, `Schedules: changed Wi-Fi ${what} (admin)\n`);
        });

    test('switched off have no cron lines, and get them back', async () => {
        await box('wifi', switches.wifi).uncheck();
        await save('wifi');
        assert.equal(await cron('wifi'), null);
        assert.deepEqual(await shown('wifi'), [false, '6:30', '23:00', workdays]);
        await box('wifi', switches.wifi).check();
        await save('wifi');
        assert.deepEqual(await cron('wifi'), ['30 6 * * 1,2,3,4,5 wifi up', '0 23 * * 1,2,3,4,5 wifi down']);
    });

    test('take no day when they are switched off', async () => {
        await choose('guests', []);
        await save('guests');
        assert.equal((await page.messages())[0], 'Changed: Guest network days.');
        assert.deepEqual(items('guests'), defaults.guests.with(3, '0\n'));
        assert.deepEqual(await shown('guests'), [false, '8:00', '20:00', '']);
    });

    test('need a day when they are switched on', async () => {
        const before = snapshot();
        await choose('wifi', []);
        await save('wifi');
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 1 field needs another look. See below.']);
        assert.deepEqual(await page.refusals(),
            ['wifi_days: Choose at least one day, or switch the schedule off.']);
        assert.deepEqual(await shown('wifi'), [true, '6:30', '23:00', '']);
        assert.deepEqual(snapshot(), before);
    });

    // As with any refused field; the group itself cannot hold it.
    test('put the cursor into the days when these were refused', async () => {
        await choose('wifi', []);
        await save('wifi');
        assert.equal(await focused(), 'wifi_mon');
    });

    test('keep what was typed beside the refusals, and change nothing', async () => {
        const before = snapshot();
        await box('guests', switches.guests).check();
        await box('guests', 'On from').fill('24:00');
        await box('guests', 'Off at').fill('<7>');
        await choose('guests', ['Wed']);
        await save('guests');
        const why = 'Enter a time from 0:00 to 23:59, hours and minutes.';
        assert.deepEqual(await page.messages(),
            ['Nothing was changed: 2 fields need another look. See below.']);
        assert.deepEqual(await page.refusals(), [`guests_from: ${why}`, `guests_to: ${why}`]);
        assert.deepEqual(await shown('guests'), [true, '24:00', '<7>', 'Wed']);
        assert.equal(await cron('guests'), null, 'cron lines are those that are stored');
        assert.deepEqual(await shown('wifi'), [true, '6:30', '23:00', workdays]);
        assert.equal(await box('guests', 'On from').getAttribute('aria-describedby'),
            'guests_from-error guests_from-hint');
        assert.equal(await focused(), 'guests_from');
        assert.deepEqual(snapshot(), before);
    });
});

describe('cron lines', () => {
    inBrowser();

    const weeks = [
        ...days.map((day, i) => [[day], `${(i + 1) % 7}`]),
        [days, '*'], [['Mon', 'Tue', 'Wed', 'Thu', 'Fri', 'Sat'], '1,2,3,4,5,6'],
        [['Sat', 'Sun'], '0,6'], [['Mon', 'Wed', 'Sun'], '0,1,3']
    ];
    for (const [chosen, weekdays] of weeks)
        test(`of ${chosen.join(', ')}`, async () => {
            await choose('wifi', chosen);
            await save('wifi');
            assert.deepEqual(await cron('wifi'),
                [`30 6 * * ${weekdays} wifi up`, `0 23 * * ${weekdays} wifi down`]);
            const mask = chosen.reduce((all, day) => all | 1 << (days.indexOf(day) + 1) % 7, 0);
            assert.equal(item('schedules/wifi_days'), `${mask}\n`);
        });

    const times = [
        ['0:00', '23:59', '0 0', '59 23'], ['9:05', '9:06', '5 9', '6 9'], ['12:30', '1:10', '30 12', '10 1']
    ];
    for (const [from, to, up, down] of times)
        test(`from ${from} to ${to}`, async () => {
            await box('wifi', 'On from').fill(from);
            await box('wifi', 'Off at').fill(to);
            await choose('wifi', days);
            await save('wifi');
            assert.deepEqual(await cron('wifi'), [`${up} * * * wifi up`, `${down} * * * wifi down`]);
            assert.deepEqual(items('wifi'), ['1\n', `${from}\n`, `${to}\n`, '127\n']);
        });

    test('are none without a day, whatever the item says', async () => {
        setItem('schedules/wifi_days', '0');
        await page.visit('schedules');
        assert.equal(await cron('wifi'), null);
    });
});

describe('a time', () => {
    const taken = [['07:30', '7:30'], ['00:00', '0:00'], [' 7:30 ', '7:30'], ['23:59', '23:59']];
    for (const [typed, value] of taken)
        test(`"${typed}" is stored as ${value}`, async () => {
            const answer = await post('schedules', {...wifi, wifi_from: typed});
            assert.deepEqual(refusalsOf(answer), []);
            assert.deepEqual(items('wifi'), defaults.wifi.with(1, `${value}\n`));
        });

    test('with a zero in front is the same one', async () => {
        assert.deepEqual(messagesOf(await post('schedules', {...wifi, wifi_from: '06:30'})),
            ['same: Nothing was different: everything stays as it was.']);
    });
});

describe('the schedules refuse', () => {
    const wrong = ['', ' ', '24:00', '7:60', '7', '7:', ':30', '-1:00', '7:-1', '+7:30', '7:3', '7:030',
        '007:30', '7.30', '7:30x', 'x7:30', '7: 30', '7 :30', '7:30:00', '31:00', '99:99', '4294967303:30',
        '7:30 pm', 'noon', '７:30'];
    for (const field of ['wifi_from', 'wifi_to', 'guests_from', 'guests_to'])
        for (const value of wrong)
            test(`${field} "${value}"`, async () => {
                const before = snapshot();
                const fields = field.startsWith('wifi') ? wifi : guests;
                const answer = await post('schedules', {...fields, [field]: value});
                assert.deepEqual(refusalsOf(answer),
                    [`${field}: Enter a time from 0:00 to 23:59, hours and minutes.`]);
                assert.deepEqual(messagesOf(answer),
                    ['bad: Nothing was changed: 1 field needs another look. See below.']);
                assert.deepEqual(snapshot(), before);
            });

    const equal = [['7:30', '7:30'], ['7:30', '07:30'], ['0:00', '00:00'], ['23:59', '23:59']];
    for (const [from, to] of equal)
        for (const fields of [wifi, guests])
            test(`${from} and ${to} of ${fields.form}`, async () => {
                const before = snapshot();
                const name = fields.form;
                const answer = await post('schedules',
                    {...fields, [`${name}_from`]: from, [`${name}_to`]: to});
                assert.deepEqual(refusalsOf(answer),
                    [`${name}_to: This is the time of switching on, too.`]);
                assert.deepEqual(snapshot(), before);
            });

    for (const field of ['wifi_from', 'wifi_to', 'guests_from', 'guests_to'])
        test(`a post without ${field}`, async () => {
            const before = snapshot();
            const {[field]: _, ...others} = field.startsWith('wifi') ? wifi : guests;
            assert.deepEqual(refusalsOf(await post('schedules', others)),
                [`${field}: This field did not arrive. Open the page again.`]);
            assert.deepEqual(snapshot(), before);
        });

    for (const name of ['wifi', 'guests'])
        test(`${name} switched on without a day`, async () => {
            const before = snapshot();
            const answer = await post('schedules', {
                form: name, [`${name}_on`]: '1', [`${name}_from`]: '7:30', [`${name}_to`]: '8:30'
            });
            assert.deepEqual(refusalsOf(answer),
                [`${name}_days: Choose at least one day, or switch the schedule off.`]);
            assert.deepEqual(snapshot(), before);
        });

    test('several fields at once, in the order of the page', async () => {
        const before = snapshot();
        const answer = await post('schedules',
            {form: 'wifi', wifi_on: '1', wifi_from: '7', wifi_to: '24:00'});
        assert.deepEqual(refusalsOf(answer).map((text) => text.replace(/:.*/, '')),
            ['wifi_from', 'wifi_to', 'wifi_days']);
        assert.deepEqual(messagesOf(answer),
            ['bad: Nothing was changed: 3 fields need another look. See below.']);
        assert.deepEqual(snapshot(), before);
    });

    test('the fields of the other schedule', async () => {
        const before = snapshot();
        const answer = await post('schedules', {...guests, form: 'wifi'});
        assert.deepEqual(refusalsOf(answer).map((text) => text.replace(/:.*/, '')),
            ['wifi_from', 'wifi_to']);
        assert.deepEqual(snapshot(), before);
    });
});
