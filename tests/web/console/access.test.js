// Who may do what: users and passwords, tokens, methods, addresses and bodies that no page sends, the
// headers of every answer. Whatever is refused leaves everything as it was.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {boundary, eventually, multipart} from '../support.js';
import {
    filePart, item, launch, messagesOf, open, pages, port, post, postParts, refusalsOf, reset, send,
    snapshot, state, stored, textPart, token
} from './support.js';

const users = ['admin', 'viewer'];
const everything = [...pages, 'status', 'count', 'export'];
const urlencoded = {'Content-Type': 'application/x-www-form-urlencoded'};
const forbiddenForm = 'bad: The form is not one of this console, or of another user, or older than the ' +
    'password. Nothing was changed. Open the page again and repeat the change.';
const noSuchForm = 'bad: This form is none of this page. Nothing was changed.';
const lookOnly = 'bad: You may look at this page, but not change anything here.';

const network = {
    form: 'network', device_name: 'changed', domain_name: 'changed.example', address: '10.0.0.1',
    netmask: '255.0.0.0', dhcp: '1', dhcp_range: '1-9', dhcp_lease: '1'
};

// A post that would change something, for each page that has forms.
const changes = {
    lan: network,
    internet: {form: 'internet', provider: 'manual', mode: 'dhcp', mtu: '1400', vlan: '9', dns1: '',
        dns2: ''},
    vpn: {form: 'vpn', remote: 'changed.example', port: '1', protocol: 'udp', cipher: 'AES-256-CBC',
        digest: 'SHA256', certificate: ''},
    certificates: {form: 'delete', delete: 'router.pem'},
    schedules: {form: 'wifi', wifi_from: '1:00', wifi_to: '2:00'},
    forwards: {form: 'list', action: 'sort'},
    hosts: {form: 'hosts', text: '10.0.0.1 changed'},
    account: {form: 'admin', admin_current: 'admin', admin_fresh: 'changed-it', admin_confirm: 'changed-it'},
    maintenance: {form: 'alert', alert_number: '1', alert_text: 'changed'}
};

let browser;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);

// Sends a request whose path is sent as it is.
function sendRaw(rawPath, {method = 'GET', user = 'admin', headers = {}, body} = {}) {
    return new Promise((resolve, reject) => {
        const request = http.request({
            host: '127.0.0.1', port, path: rawPath, method, headers, agent: false,
            auth: user === null ? undefined : `${user}:${user}`
        }, (answer) => {
            const chunks = [];
            answer.on('data', (chunk) => chunks.push(chunk));
            answer.on('end', () => resolve({
                status: answer.statusCode, headers: answer.headers, body: Buffer.concat(chunks).toString()
            }));
        });
        request.on('error', reject);
        request.end(body);
    });
}

// Posts a body with the administrator's token in front.
const sendBody = async (page, rest, headers = urlencoded) => send(`/${page}.cgi`, {
    method: 'POST', headers, body: `token=${encodeURIComponent(await token())}&${rest}`
});

// Posts fields as they are, with no token of their own.
const sendForm = (page, fields, options) => send(`/${page}.cgi`, {
    method: 'POST', headers: urlencoded, body: new URLSearchParams(fields).toString(), ...options
});

// A refusal with a status that says so, and that no browser takes for a page.
function checkRefused({status, headers}, what) {
    assert.ok(status >= 400 && status < 500, `${what}: ${status}`);
    assert.equal(headers['x-content-type-options'], 'nosniff', what);
}

// Runs a request, and fails when it changed anything.
async function changesNothing(request, what) {
    const before = snapshot();
    const answer = await request();
    assert.deepEqual(snapshot(), before, what);
    return answer;
}

describe('a user', () => {
    const wrong = [
        ['nobody', {user: null}],
        ['an unknown user', {user: 'root', password: 'admin'}],
        ['a wrong password', {user: 'admin', password: 'viewer'}],
        ['an empty password', {user: 'admin', password: ''}],
        ['a password in capitals', {user: 'admin', password: 'ADMIN'}],
        ['a longer password', {user: 'admin', password: 'admin1'}],
        ['a user in capitals', {user: 'ADMIN', password: 'admin'}],
        ['another scheme', {user: null, headers: {Authorization: 'Bearer admin'}}],
        ['half a header line', {user: null, headers: {Authorization: 'Basic'}}],
        ['the stored hash', {user: 'admin', password: '$1$'}]
    ];
    for (const [what, options] of wrong)
        test(`that is ${what} gets 401 and nothing else`, async () => {
            const names = ['/', ...pages.map((page) => `/${page}.cgi`), '/status.cgi', '/count.cgi',
                '/export.cgi', '/nothing.cgi', '/errors/404.html'];
            const before = snapshot();
            // The web server takes its time with each wrong password: all at once.
            await Promise.all(names.map(async (name) => {
                const answer = await send(name, options);
                assert.equal(answer.status, 401, name);
                assert.equal(answer.headers['www-authenticate'], 'Basic realm="Router", charset="UTF-8"');
                assert.match(answer.body, /<h1>Not logged in<\/h1>/);
            }));
            assert.deepEqual(snapshot(), before);
        });

    test('that is not logged in may not post', async () => {
        const valid = await token();
        for (const [page, fields] of Object.entries(changes)) {
            const answer = await changesNothing(
                () => sendForm(page, {...fields, token: valid}, {user: null}), page);
            assert.equal(answer.status, 401, page);
        }
    });

    test('that is no base64 is malformed', async () => {
        const headers = {Authorization: 'Basic <admin:admin>'};
        assert.equal((await changesNothing(() => send('/lan.cgi', {user: null, headers}))).status, 400);
    });

    test('in the name of a header line is nobody', async () => {
        const headers = {'Remote-User': 'admin', 'REMOTE_USER': 'admin', 'X-Remote-User': 'admin'};
        assert.equal((await send('/lan.cgi', {user: null, headers})).status, 401);
        const answer = await changesNothing(() => post('lan', network,
            {user: 'viewer', headers: {...urlencoded, ...headers}}));
        assert.equal(answer.status, 403);
        assert.match((await send('/lan.cgi', {user: 'viewer', headers})).body, /read-only/);
    });

    // A user of the web server that the console has no rights for.
    const asGuest = (page) => {
        const hash = execFileSync('openssl', ['passwd', '-1', 'guest']).toString();
        fs.appendFileSync(path.join(state, 'htpasswd'), `guest:${hash}`);
        return changesNothing(() => send(`/${page}.cgi`, {user: 'guest', password: 'guest'}), page);
    };

    test('whom the console does not know is refused by it', async () => {
        for (const page of everything) {
            const answer = await asGuest(page);
            assert.equal(answer.status, 403, page);
            assert.equal(answer.body, 'This user may not use the console.\r\n', page);
        }
    });

    test('whom the console does not know gets an answer that is not to be guessed or kept', async () => {
        const {headers} = await asGuest('lan');
        assert.equal(headers['x-content-type-options'], 'nosniff');
        assert.equal(headers['cache-control'], 'no-store');
    });

    for (const user of users)
        test(`"${user}" may look at every page`, async () => {
            for (const page of pages) {
                const answer = await changesNothing(() => send(`/${page}.cgi`, {user}), page);
                assert.equal(answer.status, 200, page);
                assert.match(answer.body, /<\/html>\r\n$/, page);
                assert.ok(answer.body.includes(`${page}.cgi" aria-current="page"`), page);
                assert.ok(answer.body.includes(`<p class="user">${user} <span class="role">`), page);
            }
        });

    test('that comes to the console gets the overview', async () => {
        const answer = await send('/');
        assert.deepEqual([answer.status, answer.headers.location], [302, '/overview.cgi']);
    });
});

describe('the read-only user', () => {
    const others = pages.filter((page) => page !== 'account');

    test('finds every input disabled, and no form to send', async () => {
        const page = await open(browser, {user: 'viewer'});
        for (const name of others) {
            await page.visit(name);
            const inputs = page.tab.locator('main').locator('input, select, textarea, button');
            const enabled = await inputs.evaluateAll((all) => all.filter((input) =>
                !input.matches(':disabled') && input.type !== 'hidden').map((input) => input.outerHTML));
            assert.deepEqual(enabled, [], name);
            assert.equal(await page.tab.locator('main form:has(button[type="submit"])').count(), 0, name);
        }
        await page.check();
    });

    test('finds the own password form, and no other one', async () => {
        const page = await open(browser, {user: 'viewer'});
        await page.visit('account');
        assert.deepEqual(await page.tab.locator('form').evaluateAll((forms) => forms.map((form) => form.id)),
            ['viewer']);
        await page.check();
    });

    for (const name of others)
        test(`may not post to ${name}`, async () => {
            const bodies = [changes[name] ?? {form: 'overview'}, {}, {form: 'nothing'}];
            for (const fields of bodies) {
                const answer = await changesNothing(() => post(name, fields, {user: 'viewer'}));
                assert.deepEqual([answer.status, messagesOf(answer)[0]], [403, lookOnly]);
            }
            const parts = [textPart('token', await token('viewer')), filePart('file', 'x.pem', 'x')];
            const answer = await changesNothing(() => postParts(name, parts, {user: 'viewer'}));
            assert.equal(answer.status, 403);
        });

    test('may not post to what makes no page', async () => {
        for (const name of ['status', 'count', 'export']) {
            const answer = await changesNothing(() => post(name, {text: 'x'}, {user: 'viewer'}), name);
            assert.equal(answer.status, 403, name);
        }
    });

    test('may not change the password of the administrator', async () => {
        const answer = await changesNothing(() => post('account', changes.account, {user: 'viewer'}));
        assert.deepEqual([answer.status, messagesOf(answer)],
            [403, ['bad: You may change your own password only.']]);
    });
});

describe('a post that changes something', () => {
    // The list of port forwards wants to be the one that was shown.
    async function complete(page) {
        const {body} = await send(`/${page}.cgi`);
        const version = /name="version" value="(\d+)"/.exec(body)?.[1];
        return {...changes[page], ...(version ? {version} : {})};
    }

    // Without this, the tests of refusals would prove nothing.
    for (const page of ['lan', 'certificates', 'forwards', 'hosts', 'account', 'maintenance'])
        test(`to ${page} does so with a token`, async () => {
            const before = snapshot();
            const answer = await post(page, await complete(page));
            assert.deepEqual([answer.status, refusalsOf(answer)], [200, []]);
            assert.notDeepEqual(snapshot(), before);
        });

    const hash = (text) => execFileSync('openssl', ['passwd', '-1', text]).toString().trim();
    const secret = () => stored('secret').trim();
    // What a token is made of: it ends with the password.
    const text = () => `${secret()}:admin:${item('accounts/admin').trim()}`;
    const bad = {
        'an empty one': () => '',
        'a plain text': () => text(),
        'the secret': () => secret(),
        'the name of the user': () => 'admin',
        'another user\'s token': () => token('viewer'),
        'a token whose hash is cut': async () => (await token()).slice(0, -1),
        'a token whose hash is empty': async () => (await token()).replace(/[^$]*$/, ''),
        'a token without its salt': async () => (await token()).replace(/^\$1\$[^$]*/, '$1$'),
        'nothing but a salt': async () => (await token()).replace(/\$[^$]*$/, ''),
        'a token with more behind it': async () => `${await token()}x`,
        'a token with a blank in front': async () => ` ${await token()}`,
        'a token with another letter': async () =>
            (await token()).replace(/.$/, (last) => (last === 'x' ? 'y' : 'x')),
        'a token in capitals': async () => (await token()).toUpperCase(),
        'a token from another secret': () => hash(`${'x'.repeat(64)}:admin:admin`),
        'a token of another password': () => hash(`${secret()}:admin:other`),
        'a token of no password': () => hash(`${secret()}:admin`),
        'a token of no secret': () => hash(':admin:admin'),
        'a token of the secret alone': () => hash(secret()),
        'a token of another kind of hash': () =>
            execFileSync('openssl', ['passwd', '-5', text()]).toString().trim(),
        'a very long one': () => '$1$'.padEnd(60_000, 'x')
    };
    for (const [what, make] of Object.entries(bad))
        test(`is forbidden with a token that is ${what}`, async () => {
            const value = await make();
            for (const page of Object.keys(changes)) {
                const fields = {...await complete(page), token: value};
                const answer = await changesNothing(() => post(page, fields), page);
                assert.deepEqual([answer.status, messagesOf(answer)[0]], [403, forbiddenForm], page);
            }
        });

    test('takes a token that was made of the secret, the user and the password', async () => {
        await post('lan', {...network, token: hash(text())});
        assert.equal(item('lan/device_name'), 'changed\n');
    });

    test('is forbidden with a token that is older than the password', async () => {
        const old = await token();
        await post('account', changes.account);
        const answer = await changesNothing(
            () => sendForm('lan', {...network, token: old}, {password: 'changed-it'}));
        assert.deepEqual([answer.status, messagesOf(answer)], [403, [forbiddenForm]]);
    });

    test('is forbidden without a token', async () => {
        for (const page of Object.keys(changes)) {
            const fields = await complete(page);
            const answer = await changesNothing(() => sendForm(page, fields), page);
            assert.deepEqual([answer.status, messagesOf(answer)[0]], [403, forbiddenForm], page);
        }
    });

    test('is forbidden with a token in the address only', async () => {
        for (const page of Object.keys(changes)) {
            const query = new URLSearchParams({token: await token()});
            const body = new URLSearchParams(await complete(page)).toString();
            const answer = await changesNothing(
                () => send(`/${page}.cgi?${query}`, {method: 'POST', headers: urlencoded, body}), page);
            assert.equal(answer.status, 403, page);
        }
    });

    test('is forbidden with a token in a cookie or a header line only', async () => {
        const headers = {...urlencoded, Cookie: `token=${await token()}`, Token: await token()};
        const body = new URLSearchParams(network).toString();
        const answer = await changesNothing(() => send('/lan.cgi', {method: 'POST', headers, body}));
        assert.equal(answer.status, 403);
    });

    test('is forbidden when a wrong token comes first', async () => {
        const valid = encodeURIComponent(await token());
        const body = `token=x&token=${valid}&${new URLSearchParams(network)}`;
        const answer = await changesNothing(
            () => send('/lan.cgi', {method: 'POST', headers: urlencoded, body}));
        assert.equal(answer.status, 403);
    });

    test('is forbidden when there is no secret that deserves the name', async () => {
        const noSecret = 'bad: The device has no secret to check forms with.';
        const file = path.join(state, 'secret');
        const kept = fs.readFileSync(file);
        try {
            for (const weak of ['', 'short', 'x'.repeat(31)]) {
                fs.writeFileSync(file, weak);
                for (const value of ['', hash(`${weak}:admin:admin`), hash(':admin:admin')]) {
                    const answer = await changesNothing(
                        () => sendForm('lan', {...network, token: value}), weak);
                    assert.deepEqual([answer.status, messagesOf(answer)], [500, [noSecret]]);
                }
            }
            fs.rmSync(file);
            const answer = await changesNothing(
                () => sendForm('lan', {...network, token: hash(':admin:admin')}));
            assert.deepEqual([answer.status, messagesOf(answer)], [500, [noSecret]]);
        } finally {
            fs.writeFileSync(file, kept);
        }
    });

    test('stays on its own page', async () => {
        for (const page of pages.filter((name) => name !== 'lan')) {
            const before = snapshot();
            await post(page, network);
            assert.deepEqual(snapshot(), before, page);
        }
    });
});

describe('another method', () => {
    const methods = ['PUT', 'DELETE', 'PATCH', 'OPTIONS', 'PROPFIND', 'MKCOL'];
    const sendAs = async (method, page) => {
        const body = new URLSearchParams({token: await token(), ...changes[page]}).toString();
        return changesNothing(() => send(`/${page}.cgi?${body}`, {method, headers: urlencoded, body}), page);
    };
    for (const method of methods)
        test(`${method} changes nothing`, async () => {
            for (const page of everything)
                await sendAs(method, page);
        });

    test('is refused, and the status says so', async () => {
        for (const method of methods) {
            const answer = await sendAs(method, 'lan');
            checkRefused(answer, method);
            assert.deepEqual([answer.status, messagesOf(answer)],
                [405, ['bad: The console takes GET and POST requests. Nothing was changed.']], method);
        }
    });

    test('HEAD is a GET without a body', async () => {
        for (const page of everything) {
            const body = new URLSearchParams({token: await token(), ...changes[page]}).toString();
            const answer = await changesNothing(() => send(`/${page}.cgi?${body}`, {method: 'HEAD'}), page);
            assert.deepEqual([answer.status, answer.body], [200, ''], page);
        }
    });

    test('writes nothing between the static files', async () => {
        const folder = path.join(process.env.QMV_ROOT, 'examples/console/static');
        const files = () => fs.readdirSync(folder, {recursive: true}).sort().map((name) => {
            const file = path.join(folder, name);
            return [name, fs.statSync(file).isFile() ? fs.readFileSync(file, 'utf8') : ''];
        });
        const before = files();
        for (const method of ['PUT', 'DELETE', 'POST'])
            for (const name of ['/console.css', '/new.css', '/errors/404.html'])
                await send(name, {method, body: 'x'});
        assert.deepEqual(files(), before);
    });
});

describe('a GET', () => {
    test('changes nothing, whatever its address holds', async () => {
        const valid = await token();
        for (const page of everything)
            for (const fields of Object.values(changes))
                await changesNothing(
                    () => send(`/${page}.cgi?${new URLSearchParams({token: valid, ...fields})}`), page);
    });

    test('changes nothing with a body', async () => {
        const body = new URLSearchParams({token: await token(), ...network}).toString();
        await changesNothing(() => send('/lan.cgi', {headers: urlencoded, body}));
    });

    test('of every action of the lists changes nothing', async () => {
        const {body} = await send('/forwards.cgi');
        const version = /name="version" value="(\d+)"/.exec(body)[1];
        for (const action of ['sort', 'up-2', 'down-1', 'delete-1'])
            await changesNothing(
                () => send(`/forwards.cgi?${new URLSearchParams({form: 'list', action, version})}`));
        await changesNothing(() => send('/certificates.cgi?form=delete&delete=router.pem'));
        await changesNothing(() => send('/maintenance.cgi?form=service'));
        assert.ok(!stored('log').includes('restarted'));
    });

    test('shows no text of its address', async () => {
        const mark = 'Qx9z<b>';
        for (const page of pages) {
            const names = Object.keys(changes[page] ?? {x: ''});
            for (const form of [changes[page]?.form ?? 'x', mark]) {
                const fields = {...Object.fromEntries(names.map((name) => [name, mark])), form};
                const {body} = await send(`/${page}.cgi?${new URLSearchParams(fields)}`);
                assert.ok(!body.includes('Qx9z'), page);
            }
        }
    });
});

describe('an address', () => {
    const notThere = ['/nothing.cgi', '/lan', '/lan.cgi/extra', '/lan.cgi/', '/lan.cg', '/LAN.CGI',
        '/lan.cgi.bak', '/.htpasswd', '/htpasswd', '/secret', '/items/accounts/admin', '/static/console.css',
        '/static/nothing.css', '/nothing.css', '/nothing.js', '/nothing.svg', '/console-htpasswd',
        '/CMakeFiles/', '/errors/', '/default/items/accounts/admin', '/lan.cpp', '/frame/token.cpp',
        '/../lan.cpp', '/../../README.md', '/%2e%2e/lan.cpp', '/%2e%2e/%2e%2e/README.md',
        '/..%2f..%2fREADME.md', '/%2e%2e%2f%2e%2e%2fREADME.md', '/console.css/../../lan.cpp',
        '/errors/../../lan.cpp', '/x/../../lan.cpp', '/%252e%252e/lan.cpp', '/..\\lan.cpp',
        '/....//lan.cpp', '//etc/passwd', '/%2fetc/passwd', '/lan.cgi/../../../../etc/passwd',
        '/../../../../../../../../etc/passwd', '/%c0%ae%c0%ae/lan.cpp', '/lan.cgi%00.css', '/console.css%00',
        '/lan.cgi%2f', '/~root/', '/cgi-bin/lan.cgi', '/x'.repeat(1000)];
    for (const address of notThere)
        test(`${address.slice(0, 60)} is not there`, async () => {
            const answer = await changesNothing(() => sendRaw(address));
            assert.ok([400, 403, 404].includes(answer.status), String(answer.status));
            for (const word of ['#include', 'root:x:', '# ', 'admin:$1$'])
                assert.ok(!answer.body.includes(word), word);
        });

    test('without a user leads to styles, scripts and icons only', async () => {
        for (const name of ['/console.css', '/console.js', '/overview.js', '/upload.js', '/message.js',
            '/icon.svg', '/icons.svg'])
            assert.equal((await send(name, {user: null})).status, 200, name);
        for (const name of ['/errors/404.html', '/lan.cgi?.css', '/lan.cgi/x.css', '/x/../lan.cgi',
            '/x.css/../lan.cgi', '/console.css/../lan.cgi', '/lan.cgi%3F.css', '/lan.cgi#a.css']) {
            const {status, body} = await sendRaw(name, {user: null});
            assert.notEqual(status, 200, name);
            assert.ok(!body.includes('Device name'), name);
        }
    });

    test('may have more slashes and dots than it needs', async () => {
        for (const address of ['//lan.cgi', '/./lan.cgi', '/x/../lan.cgi', '/%6can.cgi', '/lan.cgi?',
            '/lan.cgi?&&=&=']) {
            const answer = await changesNothing(() => sendRaw(address), address);
            assert.ok([200, 400, 404].includes(answer.status), `${address}: ${answer.status}`);
            if (answer.status === 200)
                assert.match(answer.body, /<title>LAN - router<\/title>/);
        }
    });

    for (const query of ['edit=99999999999', 'edit=-1', 'edit=4294967297', 'edit=0', 'edit=', 'edit',
        'edit=1x', 'edit=%31', 'edit=1&edit=2', 'edit[]=1', 'row=1', '='.repeat(500), '&'.repeat(500), '%',
        '%4', '%zz',
        'a=%e4', '%26=%3d', ';;', `${'x=1&'.repeat(1000)}`])
        test(`with the query ${query.slice(0, 40)} makes every page`, async () => {
            for (const page of everything) {
                const answer = await changesNothing(() => sendRaw(`/${page}.cgi?${query}`), page);
                // The web server refuses what is no address.
                assert.ok([200, 400].includes(answer.status), `${page}: ${answer.status}`);
                if (answer.status === 200 && pages.includes(page))
                    assert.match(answer.body, /<\/html>\r\n$/, page);
            }
        });
});

describe('a body', () => {
    const fieldsOf = {
        lan: ['device_name', 'domain_name', 'address', 'netmask', 'dhcp_range', 'dhcp_lease'],
        maintenance: ['alert_number', 'alert_text'], hosts: ['text'], vpn: ['remote', 'port', 'certificate'],
        certificates: ['delete'],
        forwards: ['name', 'ports', 'address', 'target', 'version', 'row', 'action'],
        account: ['admin_current', 'admin_fresh', 'admin_confirm']
    };

    for (const length of [5_000, 60_000])
        test(`with values of ${length} characters changes nothing`, async () => {
            for (const [page, names] of Object.entries(fieldsOf))
                for (const name of names) {
                    const fields = {...changes[page], [name]: 'x'.repeat(length)};
                    const answer = await changesNothing(() => post(page, fields), `${page} ${name}`);
                    assert.equal(answer.status, 200, `${page} ${name}`);
                    assert.match(answer.body, /<\/html>\r\n$/, `${page} ${name}`);
                }
        });

    test('with a very long name changes nothing', async () => {
        const answer = await changesNothing(() => post('lan', {['x'.repeat(60_000)]: 'y', form: 'nothing'}));
        assert.equal(answer.status, 200);
    });

    test('with 10,000 variables is read like any other', async () => {
        const others = Array.from({length: 10_000}, (_, i) => `v${i}=${i}`).join('&');
        const answer = await sendBody('lan', `${others}&${new URLSearchParams(network)}`);
        assert.equal(answer.status, 200);
        assert.equal(item('lan/device_name'), 'changed\n');
    });

    test('with 100,000 empty variables changes nothing', async () => {
        const answer = await changesNothing(() => sendBody('lan', '&'.repeat(100_000)));
        assert.equal(answer.status, 200);
    });

    const small = pages.filter((page) => !['overview', 'certificates', 'maintenance'].includes(page));
    for (const page of small)
        test(`of more than 256 KiB is refused by ${page}`, async () => {
            for (const size of [271_000, 1 << 20]) {
                const answer = await changesNothing(() => sendBody(page, 'x'.repeat(size)));
                assert.equal(answer.status, 413);
                assert.deepEqual(messagesOf(answer), [
                    'bad: What was sent is too large: this page takes up to 256 KiB. Nothing was changed.'
                ]);
            }
        });

    test('of more than 256 KiB is refused in pieces, too', async () => {
        const body = `token=${encodeURIComponent(await token())}&${'x'.repeat(300_000)}`;
        const headers = {...urlencoded, 'Transfer-Encoding': 'chunked'};
        const answer = await changesNothing(() => send('/lan.cgi', {method: 'POST', headers, body}));
        assert.equal(answer.status, 413);
    });

    test('in pieces is read like any other', async () => {
        const body = new URLSearchParams({token: await token(), ...network}).toString();
        const headers = {...urlencoded, 'Transfer-Encoding': 'chunked'};
        assert.equal((await send('/lan.cgi', {method: 'POST', headers, body})).status, 200);
        assert.equal(item('lan/device_name'), 'changed\n');
    });

    for (const rest of ['form=network&device_name=%', 'form=network&device_name=%4',
        'form=network&device_name=%zz', 'form=network&%zz%', '%', 'form=%6eetwork%',
        'form=network&device_name=%FF%C3', 'form=network%00x',
        '=', '&', 'form', 'form=', 'form=network;device_name=a', 'form=network&form=ports', '+', '%00',
        'form=network&device_name=%0D%0ASet-Cookie:%20x=1', '{"form": "network"}', '<form>network</form>'])
        test(`with ${rest} changes nothing`, async () => {
            const answer = await changesNothing(() => sendBody('lan', rest));
            assert.equal(answer.status, 200);
            assert.equal(answer.headers['set-cookie'], undefined);
            assert.match(answer.body, /<\/html>\r\n$/);
        });

    for (const form of ['nothing', '', 'NETWORK', 'network ', 'routes2', '../lan', '<b>', 'x'.repeat(5000)])
        test(`of the form "${form.slice(0, 20)}" changes nothing, and that is said`, async () => {
            for (const page of Object.keys(changes)) {
                const answer = await changesNothing(() => post(page, {...changes[page], form}), page);
                assert.deepEqual([answer.status, messagesOf(answer)], [200, [noSuchForm]], page);
                assert.ok(!answer.body.includes('<b>'), page);
            }
        });

    const types = ['text/plain', 'application/json', 'application/x-www-form-urlencodedx', '',
        'multipart/form-data', 'multipart/form-data; boundary', 'multipart/mixed; boundary=x',
        'multipart/form-data; charset=utf-8'];
    const sendTyped = async (type, page) => {
        const body = new URLSearchParams({token: await token(), ...changes[page]}).toString();
        const headers = {'Content-Type': type};
        return changesNothing(() => send(`/${page}.cgi`, {method: 'POST', headers, body}), page);
    };
    for (const type of types)
        test(`of the type "${type}" changes nothing`, async () => {
            for (const page of Object.keys(changes))
                await sendTyped(type, page);
        });

    test('of another type is refused, and the status says so', async () => {
        for (const type of types)
            checkRefused(await sendTyped(type, 'lan'), type);
    });

    test('that is empty changes nothing', async () => {
        for (const page of Object.keys(changes)) {
            const answer = await changesNothing(() => sendForm(page, {}), page);
            assert.deepEqual(refusalsOf(answer), [], page);
        }
    });

    test('that is empty is refused, and the status says so', async () => {
        checkRefused(await sendForm('lan', {}), 'lan');
    });

    const asParts = (fields) => Object.entries(fields).map(([name, value]) => textPart(name, value));

    test('in parts is read like any other', async () => {
        await postParts('lan', asParts({token: await token(), ...network}));
        assert.equal(item('lan/device_name'), 'changed\n');
    });

    test('in parts is stored as it is, or not at all', async () => {
        const text = `# ${'x'.repeat(6000)}`;
        const before = stored('files/hosts');
        const answer = await postParts('hosts', asParts({token: await token(), form: 'hosts', text}));
        assert.ok([`${text}\n`, text, before].includes(stored('files/hosts')), messagesOf(answer).join());
    });

    test('in parts that ends inside a value changes nothing', async () => {
        const whole = multipart(...asParts({token: await token(), ...network, dhcp_lease: '720'}));
        const headers = {'Content-Type': `multipart/form-data; boundary=${boundary}`};
        for (const end of [whole.length - 10, whole.lastIndexOf('720') + 2])
            await changesNothing(
                () => send('/lan.cgi', {method: 'POST', headers, body: whole.subarray(0, end)}));
    });

    const malformed = {
        'nothing but an end': () => `--${boundary}--\r\n`,
        'another boundary': (parts) => multipart(...parts).toString().replaceAll(boundary, 'x'),
        'line feeds only': (parts) => multipart(...parts).toString().replaceAll('\r', ''),
        'header lines without an end': () => `--${boundary}\r\n${'Content-X: y\r\n'.repeat(5000)}`,
        'a header line without an end': () => `--${boundary}\r\nContent-Disposition: ${'x'.repeat(50_000)}`,
        'bytes': () => Buffer.alloc(50_000, 0xFF)
    };
    for (const [what, make] of Object.entries(malformed))
        test(`in parts with ${what} changes nothing`, async () => {
            const parts = asParts({form: 'network', ...network, token: await token()});
            for (const page of ['lan', 'certificates', 'maintenance']) {
                const answer = await changesNothing(() => send(`/${page}.cgi`, {
                    method: 'POST', headers: {'Content-Type': `multipart/form-data; boundary=${boundary}`},
                    body: make(parts)
                }), page);
                assert.ok([400, 403].includes(answer.status), `${page}: ${answer.status}`);
            }
        });
});

describe('every answer', () => {
    const policy = 'default-src \'none\'; style-src \'self\'; script-src \'self\'; connect-src \'self\'; ' +
        'img-src \'self\'; form-action \'self\'; base-uri \'none\'; frame-ancestors \'none\'';

    function checkHeaders({headers}, what) {
        assert.equal(headers['content-type'], 'text/html; charset=utf-8', what);
        assert.equal(headers['content-security-policy'], policy, what);
        assert.equal(headers['x-content-type-options'], 'nosniff', what);
        assert.equal(headers['x-frame-options'], 'DENY', what);
        assert.equal(headers['referrer-policy'], 'same-origin', what);
        assert.equal(headers['cache-control'], 'no-store', what);
        assert.equal(headers['set-cookie'], undefined, what);
        assert.equal(headers['access-control-allow-origin'], undefined, what);
    }

    test('of a page has the headers that protect it', async () => {
        for (const page of pages)
            for (const user of users)
                checkHeaders(await send(`/${page}.cgi`, {user}), `${page} ${user}`);
    });

    test('to a post has them: taken, refused, forbidden and too large', async () => {
        for (const page of pages) {
            checkHeaders(await post(page, changes[page] ?? {}), `${page} taken`);
            reset();
            checkHeaders(await post(page, {...changes[page], token: ''}), `${page} forbidden`);
            checkHeaders(await post(page, changes[page] ?? {}, {user: 'viewer'}), `${page} read-only`);
        }
        checkHeaders(await post('lan', {...network, address: 'x'}), 'refused');
        checkHeaders(await sendBody('lan', 'x'.repeat(300_000)), 'too large');
        checkHeaders(await send('/export.cgi', {user: 'viewer'}), 'no export');
    });

    test('of a program that makes no page is not to be guessed or kept', async () => {
        for (const name of ['status', 'count', 'export']) {
            const {headers} = await send(`/${name}.cgi`);
            assert.equal(headers['x-content-type-options'], 'nosniff', name);
            assert.equal(headers['cache-control'], 'no-store', name);
        }
    });

    test('that is a static file is not to be guessed', async () => {
        const types = {
            'console.css': 'text/css; charset=utf-8', 'console.js': 'text/javascript; charset=utf-8',
            'overview.js': 'text/javascript; charset=utf-8', 'upload.js': 'text/javascript; charset=utf-8',
            'message.js': 'text/javascript; charset=utf-8', 'icon.svg': 'image/svg+xml',
            'icons.svg': 'image/svg+xml'
        };
        for (const [name, type] of Object.entries(types)) {
            const {headers} = await send(`/${name}`);
            assert.equal(headers['x-content-type-options'], 'nosniff', name);
            assert.equal(headers['content-type'], type, name);
        }
    });

    test('holds no style and no script of its own, and nothing of another site', async () => {
        for (const page of pages) {
            const {body} = await send(`/${page}.cgi`);
            assert.ok(!/<script(?! src="[a-z]+\.js" defer>)|<style|\sstyle=|\son\w+=|javascript:/i.test(body),
                page);
            assert.ok(!/(src|href|action)="(https?:)?\/\//i.test(body), page);
        }
    });
});

describe('hostile items', () => {
    const hostile = '</title><script>alert(1)</script><img src=x onerror=alert(1)>"\'&amp;';

    test('are text on every page', async () => {
        const folder = path.join(state, 'items');
        for (const group of fs.readdirSync(folder).filter((name) => !['device', 'accounts'].includes(name)))
            for (const name of fs.readdirSync(path.join(folder, group)))
                fs.writeFileSync(path.join(folder, group, name), `${hostile}\n`);
        const page = await open(browser);
        for (const name of pages) {
            await page.visit(name);
            assert.ok((await page.tab.title()).endsWith(` - ${hostile}`), name);
            assert.equal(await page.tab.locator('main img, main script').count(), 0, name);
        }
        await page.check();
    });
});

describe('the programs', () => {
    // Programs of this web server: its children, and others that know its state directory.
    function programs() {
        const server = fs.readFileSync(path.join(process.env.QMV_WORK, 'pid'), 'utf8').trim();
        return fs.readdirSync('/proc').filter((name) => /^\d+$/.test(name)).flatMap((pid) => {
            try {
                const line = fs.readFileSync(`/proc/${pid}/stat`, 'utf8');
                const [, name, status, parent] = /^\d+ \((.*)\) (\S) (\d+)/s.exec(line);
                // What has ended has no environment any more, and cannot be asked for it.
                const ours = parent === server || (name.endsWith('.cgi') && status !== 'Z' &&
                    fs.readFileSync(`/proc/${pid}/environ`, 'utf8').includes(`QMV_STATE=${state}\0`));
                return ours ? [`${pid} ${name} ${status}`] : [];
            } catch {
                return [];  // it has just ended
            }
        });
    }

    afterEach(() => eventually('no program is left', () => programs().length === 0));

    test('end with their requests', async () => {
        await Promise.all(pages.flatMap((page) => users.map((user) => send(`/${page}.cgi`, {user}))));
        await eventually('no program is left', () => programs().length === 0);
    });

    test('end when their requests are broken off', async () => {
        const request = (page) => new Promise((resolve) => {
            const sent = http.get(
                {host: '127.0.0.1', port, path: `/${page}.cgi`, auth: 'admin:admin', agent: false});
            sent.on('error', resolve);
            sent.on('close', resolve);
            sent.on('socket', (socket) => socket.once('connect', () => setImmediate(() => sent.destroy())));
        });
        await Promise.all([...pages, ...pages].map(request));
        await eventually('no program is left', () => programs().length === 0);
        assert.equal((await send('/lan.cgi')).status, 200);
    });
});
