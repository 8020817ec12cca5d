// The overview: the figures of the simulated device, in the page and in JSON; how they follow the
// device without a reload; the chart; what is shown when a device is missing.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {launch, messagesOf, open, post, reset, send, setItem, snapshot, token} from './support.js';

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
        await page.visit('overview');
    });
    afterEach(() => page.check());
}

// What the simulated device says: a text, or the least and the most that a figure drifts to.
const expected = {
    dsl_state: 'Showtime, Sync', dsl_mode: 'ADSL2+, Annex B', dsl_power: 'DSL_G997_PMS_L0',
    dsl_trellis: 'on', dsl_path: 'Interleave',
    down_rate: '16384', down_max: [17292, 18548], down_delay: '7', down_margin: [7, 11],
    down_attenuation: [24, 25],
    up_rate: '1187', up_max: [1196, 1284], up_delay: '4', up_margin: [6, 10], up_attenuation: '13',
    port_1: 'connected', port_2: 'connected', port_3: 'not connected', port_4: 'connected'
};
const line = Object.keys(expected).filter((key) => !key.startsWith('port_'));

function checkFigure(key, text) {
    const value = expected[key];
    if (!Array.isArray(value))
        return assert.equal(text, value, key);
    assert.match(text, /^\d+$/, key);
    assert.ok(Number(text) >= value[0] && Number(text) <= value[1], `${key} is ${text}`);
}

const status = async () => JSON.parse((await send('/status.cgi')).body);
const figure = (key) => page.tab.locator(`[data-figure="${key}"]:not(meter)`);
const meter = (key) => page.tab.locator(`meter[data-figure="${key}"]`);

// The figures that the page has a place for.
const places = () => page.tab.locator('[data-figure]:not(meter)').evaluateAll(
    (elements) => elements.map((element) => [element.dataset.figure, element.textContent]));

// Waits until the page's script has read the figures.
const refreshed = () => page.tab.getByText('Updated every few seconds.').waitFor();

async function checkFigures() {
    const shown = Object.fromEntries(await places());
    for (const key of ['down_rate', 'down_margin', 'down_attenuation', 'up_rate', 'up_margin',
        'up_attenuation', 'dsl_state', 'dsl_mode', 'dsl_power', 'dsl_trellis', 'dsl_path', 'port_1', 'port_2',
        'port_3', 'port_4'])
        checkFigure(key, shown[key]);
    assert.match(shown.uptime, /^up \d|^\d/);
    assert.match(shown.load, /^\d+\.\d\d \d+\.\d\d \d+\.\d\d$/);
    assert.match(shown.interface_lo, /^up, 127\.0\.0\.1\/8/);
}

async function checkFacts() {
    const facts = await page.tab.locator('dl.facts').evaluateAll((lists) => lists.flatMap((list) =>
        [...list.querySelectorAll('dt')].map((name) => [name.textContent, name.nextSibling.textContent])));
    const named = Object.fromEntries(facts);
    assert.equal(named.Model, 'QMV-200, ADSL2+');
    assert.deepEqual(
        [named.Board, named['Serial number'], named['Hardware address'], named['Boot loader'], named.Flash],
        ['QMV-200', 'Q2A7-004217', '02:00:5E:10:00:01', 'U-Boot 2022.04 (simulated)', '16M']);
    assert.deepEqual(await page.tab.locator('.features li').allTextContents(),
        ['DSL', 'VPN', 'Wi-Fi', 'USB']);
}

describe('the overview', () => {
    inBrowser();

    test('shows what the device says', async () => {
        await checkFigures();
        await checkFacts();
        await refreshed();
        await checkFigures();
    });

    test('has a place for every figure that the device sends', async () => {
        const shown = await page.tab.locator('[data-figure]').evaluateAll((elements) =>
            elements.flatMap((element) => [element.dataset.figure, element.dataset.most]));
        for (const key of Object.keys(await status()))
            assert.ok(shown.includes(key), key);
    });

    test('has a meter for each rate, margin and attenuation', async () => {
        for (const [key, most] of [['down_rate', expected.down_max], ['up_rate', expected.up_max],
            ['down_margin', [20, 20]], ['up_margin', [20, 20]], ['down_attenuation', [60, 60]],
            ['up_attenuation', [60, 60]]]) {
            const [value, max] = await meter(key).evaluate((element) => [element.value, element.max]);
            checkFigure(key, String(value));
            assert.ok(max >= most[0] && max <= most[1], `${key} ends at ${max}`);
            assert.notEqual(await meter(key).getAttribute('aria-labelledby'), null);
        }
    });

    test('follows the device without a reload', async () => {
        await page.tab.evaluate(() => {
            window.marker = 'still here';
        });
        const ports = {form: 'ports', port1: '1', port2: '1', port3: '1', port4: '1', cloned_mac: ''};
        const {port1: _, ...down} = ports;
        assert.equal(await figure('port_1').textContent(), 'connected');
        await post('lan', down);
        await figure('port_1').filter({hasText: /^not connected$/}).waitFor();
        assert.equal(await figure('port_2').textContent(), 'connected');
        await post('lan', ports);
        await figure('port_1').filter({hasText: /^connected$/}).waitFor();
        assert.equal(await page.tab.evaluate(() => window.marker), 'still here');
    });

    test('says unknown as soon as a device is gone, and shows it again when it is back', async () => {
        await refreshed();
        setItem('device/dsl', '/dev/no-such-device');
        await figure('dsl_state').filter({hasText: /^unknown$/}).waitFor();
        assert.equal(await meter('down_rate').evaluate((element) => element.value), 0);
        setItem('device/dsl', '/dev/dsl_cpe_api');
        await figure('dsl_state').filter({hasText: /^Showtime, Sync$/}).waitFor();
        assert.equal(await meter('down_rate').evaluate((element) => element.value), 16384);
    });

    test('says how long the device has not answered', async () => {
        await refreshed();
        await page.tab.route(/status\.cgi/, (route) => route.abort());
        await page.tab.getByText(/^The device has not answered for \d+ seconds\.$/).waitFor();
        assert.equal(await figure('down_rate').textContent(), '16384', 'the last figures stay');
        await page.tab.unroute(/status\.cgi/);
        await refreshed();
        // The browser reports each request that failed itself.
        assert.ok(page.problems.length > 0);
        for (const problem of page.problems.splice(0))
            assert.match(problem, /Failed to load resource/);
    });

    test('shows what is wrong in the answer as an answer that did not come', async () => {
        await refreshed();
        await page.tab.route(/status\.cgi/, (route) =>
            route.fulfill({contentType: 'application/json', body: '{"down_rate": '}));
        await page.tab.getByText(/^The device has not answered for \d+ seconds\.$/).waitFor();
        assert.equal(await figure('down_rate').textContent(), '16384');
    });

    test('shows hostile figures as text', async () => {
        const hostile = '<img src=x onerror=alert(1)>"\'&amp;';
        await page.tab.route(/status\.cgi/, (route) => route.fulfill({
            contentType: 'application/json',
            body: JSON.stringify({dsl_state: hostile, down_rate: hostile, down_margin: '9', up_margin: '8'})
        }));
        await figure('dsl_state').filter({hasText: 'onerror'}).waitFor();
        assert.equal(await figure('dsl_state').textContent(), hostile);
        assert.equal(await figure('down_rate').textContent(), hostile);
        assert.equal(await page.tab.locator('main img').count(), 0);
    });

    test('shows hostile names as text', async () => {
        const hostile = '</title><script>alert(1)</script>"\'&amp;';
        setItem('lan/device_name', hostile);
        await page.visit('overview');
        assert.equal(await page.tab.title(), `Overview - ${hostile}`);
        assert.equal(await page.tab.locator('.device').textContent(), hostile);
    });
});

describe('the chart', () => {
    inBrowser();

    // Where a line goes, in hundredths of the chart.
    const points = async (name) => {
        const all = await page.tab.locator(`#chart polyline.${name}`).getAttribute('points');
        return all === '' ? [] : all.split(' ').map((point) => point.split(',').map(Number));
    };

    test('appears with the first figures, and grows', async () => {
        await page.tab.locator('#chart svg').waitFor();
        await page.tab.waitForFunction(
            () => document.querySelector('#chart polyline.down').points.length >= 3);
        for (const name of ['down', 'up']) {
            const [least, most] = expected[`${name}_margin`];
            const all = await points(name);
            for (const [, y] of all)
                assert.ok(y >= 100 - 5 * most && y <= 100 - 5 * least, `${name} at ${y}`);
            assert.deepEqual(all, [...all].sort(([a], [b]) => a - b));
            assert.equal(all.at(-1)[0], 100);
        }
        assert.match(await page.tab.locator('#chart figcaption').textContent(), /last 2 minutes, 0 to 20 dB/);
        assert.equal(await page.tab.locator('#chart svg').getAttribute('aria-label'),
            'Margin of the last minutes');
    });

    test('survives a reload', async () => {
        await page.tab.waitForFunction(
            () => document.querySelector('#chart polyline.down')?.points.length >= 2);
        const before = await points('down');
        await page.tab.reload();
        await page.tab.locator('#chart svg').waitFor();
        const after = await points('down');
        assert.ok(after.length > before.length);
        assert.deepEqual(after.slice(0, before.length).map(([, y]) => y), before.map(([, y]) => y));
    });

    test('keeps ten minutes and no more', async () => {
        // From another page: the script of this one would write over them.
        await page.visit('lan');
        await page.tab.evaluate(() => sessionStorage.setItem('readings',
            JSON.stringify([20, 15, 9, 1].map((minutes) => [Date.now() - 60_000 * minutes, minutes, 5]))));
        await page.visit('overview');
        await page.tab.locator('#chart svg').waitFor();
        assert.deepEqual((await points('down')).slice(0, 2).map(([, y]) => y), [55, 95]);
        assert.ok((await points('down')).length >= 3);
        assert.match(await page.tab.locator('#chart figcaption').textContent(), /last (9|10) minutes/);
    });

    test('has no lines while the line says nothing', async () => {
        setItem('device/dsl', '/dev/no-such-device');
        await page.visit('lan');
        await page.tab.evaluate(() => sessionStorage.clear());
        await page.visit('overview');
        await refreshed();
        for (const name of ['down', 'up'])
            assert.deepEqual(await points(name), []);
    });

    test('begins anew when what was kept cannot be read', async () => {
        for (const kept of ['[[', '{"a": 1}', 'null', '7']) {
            await page.visit('lan');
            await page.tab.evaluate((text) => sessionStorage.setItem('readings', text), kept);
            await page.visit('overview');
            await page.tab.locator('#chart svg').waitFor();
            assert.ok((await points('down')).length >= 1);
        }
    });
});

describe('without scripts', () => {
    inBrowser({javaScriptEnabled: false});

    test('the overview shows all figures, and a link that reads them again', async () => {
        await checkFigures();
        await checkFacts();
        assert.ok(await page.tab.locator('#chart').isHidden());
        await Promise.all([
            page.tab.waitForEvent('load'),
            page.tab.getByRole('link', {name: 'Read the figures again', exact: true}).click()
        ]);
        await checkFigures();
    });
});

describe('the default password', () => {
    const warning = 'bad: The administrator still has the password that the device came with. ' +
        'Change it on the Account page.';

    test('is warned of, and only the administrator is', async () => {
        assert.deepEqual(messagesOf(await send('/overview.cgi')), [warning]);
        assert.deepEqual(messagesOf(await send('/overview.cgi', {user: 'viewer'})), []);
    });

    test('is not warned of when the password is a hash', async () => {
        setItem('accounts/admin', '$1$abcdefgh$Xw1kSEDX0E.3GA6i2.dIh1');
        assert.deepEqual(messagesOf(await send('/overview.cgi')), []);
    });

    test('is not warned of when it was changed', async () => {
        await post('account', {
            form: 'admin', admin_current: 'admin', admin_fresh: 'a-new-one', admin_confirm: 'a-new-one'
        });
        const answer = await send('/overview.cgi', {password: 'a-new-one'});
        assert.deepEqual([answer.status, messagesOf(answer)], [200, []]);
    });
});

describe('status.cgi', () => {
    test('is JSON with the figures and nothing else', async () => {
        const answer = await send('/status.cgi');
        assert.equal(answer.headers['content-type'], 'application/json; charset=utf-8');
        assert.equal(answer.headers['x-content-type-options'], 'nosniff');
        assert.equal(answer.headers['cache-control'], 'no-store');
        const figures = JSON.parse(answer.body);
        const keys = Object.keys(figures).filter((key) => !key.startsWith('interface_'));
        assert.deepEqual(keys.sort(), [...Object.keys(expected), 'load', 'uptime'].sort());
        for (const key of Object.keys(expected))
            checkFigure(key, figures[key]);
        assert.ok('interface_lo' in figures);
        assert.ok(Object.values(figures).every((value) => typeof value === 'string'));
    });

    test('is the same for the read-only user', async () => {
        const figures = JSON.parse((await send('/status.cgi', {user: 'viewer'})).body);
        assert.deepEqual(Object.keys(figures), Object.keys(await status()));
    });

    test('leaves out what a missing modem would say', async () => {
        const others = Object.keys(await status()).filter((key) => !line.includes(key));
        for (const path of ['/dev/no-such-device', '', '/', '/dev/null']) {
            setItem('device/dsl', path);
            assert.deepEqual(Object.keys(await status()), others, path);
        }
    });
});

describe('count.cgi', () => {
    // What the alphabet of text messages lacks, among these texts.
    const lacking = /[`\t\u0001\u007F-\u009F\u2028\u3042\u201c\uFFFE\uFFFF]/;
    const texts = ['"', '\\', '\\"', '</script>', '`', '`"\\', '\u0001', '\t', '\u001F"', '\u007F', '\u0085',
        '\u2028', '\u3042"', '\u3042\\', '\u201c', '\uFFFE', '\uFFFF', '\u{1F600}', 'a&b=c', '%', '{',
        '&count=9'];
    for (const text of texts)
        test(`answers ${JSON.stringify(text)} in JSON`, async () => {
            // The web server refuses control characters in an address, but not in a form.
            const answer = await post('count', {text});
            assert.equal(answer.headers['content-type'], 'application/json; charset=utf-8');
            const {count, limit, foreign, ...others} = JSON.parse(answer.body);
            assert.deepEqual(others, {});
            assert.ok(Number.isInteger(count) && limit === 160 && typeof foreign === 'string');
            assert.ok(!answer.body.includes('<'));
            const first = [...text].find((char) => lacking.test(char));
            if (first !== undefined)
                assert.equal(foreign, first);
        });

    for (const text of ['"', '\\', '\u3042"\\', '</script>', '`', 'a&b=c', '%'])
        test(`answers ${JSON.stringify(text)} in its address as in a form`, async () => {
            const answer = await send(`/count.cgi?${new URLSearchParams({text})}`);
            assert.deepEqual(JSON.parse(answer.body), JSON.parse((await post('count', {text})).body));
        });

    for (const bytes of ['%FF', '%C3', '%C3%22', '%ED%A0%80', '%ED%A0%80%22', '%C0%A2', '%E0%80%BC',
        '%F0%9F%98', '%80%22', '%', '%4', '%zz', '%00%22'])
        test(`answers the bytes ${bytes} in JSON`, async () => {
            const body = `token=${encodeURIComponent(await token())}&text=${bytes}`;
            const answer = await post('count', {}, {body});
            assert.equal(typeof JSON.parse(answer.body).foreign, 'string');
            assert.ok(!answer.body.includes('<'));
        });

    test('counts nothing without a text', async () => {
        for (const query of ['', '?', '?text', '?text=', '?other=x'])
            assert.deepEqual(JSON.parse((await send(`/count.cgi${query}`)).body),
                {count: 0, limit: 160, foreign: ''});
    });
});

describe('when a device is missing', () => {
    for (const [what, options] of [['', {}], [', without scripts', {javaScriptEnabled: false}]])
        test(`the page is whole and says unknown${what}`, async () => {
            setItem('device/dsl', '/dev/no-such-device');
            setItem('device/flash', '/dev/no-such-device');
            page = await open(browser, options);
            await page.visit('overview');
            if (what === '')
                await figure('down_rate').filter({hasText: 'unknown'}).waitFor();
            const shown = await places();
            for (const [key, text] of shown)
                assert.equal(text === 'unknown', line.includes(key), `${key} is ${text}`);
            assert.equal(await page.tab.getByText('Its environment cannot be read.').count(), 1);
            assert.deepEqual(await page.tab.locator('h2').allTextContents(),
                ['DSL line', 'Device', 'Network', 'Boot loader']);
            assert.ok((await send('/overview.cgi')).body.trimEnd().endsWith('</html>'));
            await page.check();
        });

    test('a flash partition that holds something else is said to be unreadable', async () => {
        for (const path of ['/dev/null', '/dev/zero', '/', '']) {
            setItem('device/flash', path);
            const {body} = await send('/overview.cgi');
            assert.match(body, /<p>Its environment cannot be read\.<\/p>/, path);
        }
    });

    test('an information that nobody knows names no model and no features', async () => {
        for (const info of ['', '9', '<', '0'.repeat(300)]) {
            setItem('device/info', info);
            const {status: code, body} = await send('/overview.cgi');
            assert.equal(code, 200);
            assert.match(body, /<dt>Model<\/dt><dd>unknown<\/dd>/, info);
            assert.ok(!body.includes('<li>DSL</li>'), info);
        }
    });

    test('nothing is changed by looking', async () => {
        const before = snapshot();
        for (const path of ['/overview.cgi', '/status.cgi', '/count.cgi?text=x'])
            await send(path);
        assert.deepEqual(snapshot(), before);
    });
});
