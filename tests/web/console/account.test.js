// The account page: the passwords of both users, their items and copies, the web server's file.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import {after, afterEach, before, beforeEach, describe, test} from 'node:test';
import {item, launch, messagesOf, open, passwords, post, refusalsOf, reset, send, snapshot, state, stored,
    token} from './support.js';

let browser;
let page;

before(async () => {
    browser = await launch();
});
after(() => browser.close());
beforeEach(reset);

// Opens the page of a user for each test of a group, and fails one in which the browser saw an error.
function inBrowser(user) {
    beforeEach(async () => {
        page = await open(browser, {user});
        await page.visit('account');
    });
    afterEach(() => page.check());
}

// Both forms have the same labels: a field is looked for in its form.
const form = (account) => page.tab.locator(`form#${account}`);
const box = (account, label) => form(account).getByLabel(label, {exact: true});
const save = (account) => Promise.all([
    page.tab.waitForEvent('load'),
    form(account).getByRole('button', {name: 'Change password', exact: true}).click()
]);

async function fill(account, fresh, {current, confirm = fresh} = {}) {
    if (current !== undefined)
        await box(account, 'Current password').fill(current);
    await box(account, 'New password').fill(fresh);
    await box(account, 'New password again').fill(confirm);
}

// What a post of a user's own form has, and one of the administrator for the read-only user.
const own = (user, fresh, {current = passwords[user], confirm = fresh} = {}) => ({
    form: user, [`${user}_current`]: current, [`${user}_fresh`]: fresh, [`${user}_confirm`]: confirm
});
const viewers = (fresh, confirm = fresh) =>
    ({form: 'viewer', viewer_fresh: fresh, viewer_confirm: confirm});

// Posts as a user whose password was changed.
async function postAs(user, password, fields) {
    const {body} = await send('/account.cgi', {user, password});
    const [, found] = /name="token" value="([^"]+)"/.exec(body);
    return send('/account.cgi', {
        method: 'POST', user, password, body: new URLSearchParams({token: found, ...fields}).toString(),
        headers: {'Content-Type': 'application/x-www-form-urlencoded'}
    });
}

const statusOf = async (user, password) => (await send('/account.cgi', {user, password})).status;
const hash = /^\$1\$[./0-9A-Za-z]{8}\$[./0-9A-Za-z]{22}\n$/;
const htpasswd = () => Object.fromEntries(stored('htpasswd').trimEnd().split('\n').map((line) =>
    [line.slice(0, line.indexOf(':')), line.slice(line.indexOf(':') + 1)]));

// Everything that a changed password changes, and that it does so at once.
async function assertChanged(user, password, other) {
    assert.match(item(`accounts/${user}`), hash);
    assert.equal(item(`accounts/${user}`).length, 35, 'the hash and a line end');
    assert.equal(stored(`flash/accounts/${user}`), item(`accounts/${user}`));
    assert.equal(htpasswd()[user], item(`accounts/${user}`).trimEnd());
    assert.deepEqual(Object.keys(htpasswd()), ['admin', 'viewer']);
    assert.equal(await statusOf(user, passwords[user]), 401);
    assert.equal(await statusOf(user, password), 200);
    assert.equal(item(`accounts/${other}`), `${passwords[other]}\n`);
    assert.equal(stored(`flash/accounts/${other}`), `${passwords[other]}\n`);
    assert.equal(await statusOf(other, passwords[other]), 200);
}

const log = () => stored('log').replace(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d /gm, '');
const why = {
    current: 'This is not the current password.',
    character: 'Only letters, digits and # + , - . / : ; @ do.',
    length: 'Use 8 to 32 characters.',
    confirm: 'This is not the same as the new password.',
    empty: 'Enter a new password.'
};
const refusal = 'Nothing was changed: 1 field needs another look. See below.';

describe('the administrator', () => {
    inBrowser('admin');

    test('sees both users, and a form for each', async () => {
        const users = page.tab.locator('section', {has: page.tab.getByRole('heading', {name: 'Users'})});
        assert.deepEqual(await users.locator('dt').allTextContents(), ['admin', 'viewer']);
        assert.deepEqual(await users.locator('dd').allTextContents(),
            ['Administrator, password never changed', 'Read-only user, password never changed']);
        assert.deepEqual(await page.tab.locator('main form').evaluateAll((forms) =>
            forms.map(({id}) => id)), ['admin', 'viewer']);
        assert.deepEqual(await page.tab.locator('legend').allTextContents(),
            ['Your password', 'Password of viewer']);
        assert.equal(await box('admin', 'Current password').count(), 1);
        assert.equal(await box('viewer', 'Current password').count(), 0);
    });

    test('gets empty boxes that show no characters', async () => {
        const boxes = await page.tab.locator('main input:not([type=hidden])').all();
        assert.equal(boxes.length, 5);
        for (const one of boxes) {
            assert.equal(await one.getAttribute('type'), 'password');
            assert.equal(await one.inputValue(), '');
        }
        assert.equal(await box('admin', 'Current password').getAttribute('autocomplete'),
            'current-password');
        assert.equal(await box('admin', 'New password').getAttribute('autocomplete'), 'new-password');
    });

    test('changes the own password', async () => {
        await fill('admin', 'Fresh-pass1', {current: 'admin'});
        await save('admin');
        assert.deepEqual(await page.messages(),
            ['Changed: the password of admin. The browser will ask for it.']);
        assert.deepEqual(await page.tab.locator('dd').allTextContents(),
            ['Administrator, password stored as a hash', 'Read-only user, password never changed']);
        assert.equal(log(), 'Account: changed the password of admin (admin)\n');
        await assertChanged('admin', 'Fresh-pass1', 'viewer');
    });

    test('changes the password of the read-only user without knowing it', async () => {
        await fill('viewer', 'Viewers-new-one');
        await save('viewer');
        assert.deepEqual(await page.messages(), ['Changed: the password of viewer.']);
        assert.equal(log(), 'Account: changed the password of viewer (admin)\n');
        await assertChanged('viewer', 'Viewers-new-one', 'admin');
        await page.visit('account');
        assert.deepEqual(await page.tab.locator('dd').allTextContents(),
            ['Administrator, password never changed', 'Read-only user, password stored as a hash']);
    });

    test('is told why nothing was changed, without an echo', async () => {
        const before = snapshot();
        await fill('admin', 'typed-fresh', {current: 'typed-current', confirm: 'typed-fresh'});
        await save('admin');
        assert.deepEqual(await page.messages(), [refusal]);
        assert.deepEqual(await page.refusals(), [`admin_current: ${why.current}`]);
        assert.ok(!(await page.tab.content()).includes('typed-'));
        assert.equal(await box('admin', 'Current password').inputValue(), '');
        assert.equal(await box('admin', 'New password').inputValue(), '');
        assert.equal(await box('admin', 'Current password').getAttribute('aria-invalid'), 'true');
        assert.equal(await page.tab.evaluate(() => document.activeElement.name), 'admin_current');
        assert.deepEqual(snapshot(), before);
    });

    test('may use an emoji no more than any other mark', async () => {
        const before = snapshot();
        await fill('viewer', 'password😀');
        await save('viewer');
        assert.deepEqual(await page.refusals(), [`viewer_fresh: ${why.character}`]);
        assert.deepEqual(snapshot(), before);
    });

    test('cannot send a form with an empty box', async () => {
        const before = snapshot();
        await box('admin', 'New password').fill('Fresh-pass1');
        await form('admin').getByRole('button', {name: 'Change password'}).click();
        assert.equal(await page.tab.evaluate(() => document.activeElement.name), 'admin_current');
        assert.deepEqual(await page.messages(), []);
        assert.deepEqual(snapshot(), before);
    });
});

test('the administrator changes the password again, with the new one as the current one', async () => {
    await post('account', own('admin', 'Fresh-pass1'));
    const first = item('accounts/admin');
    page = await open(browser, {password: 'Fresh-pass1'});
    await page.visit('account');
    await fill('admin', 'Second-pass2', {current: 'admin'});
    await save('admin');
    assert.deepEqual(await page.refusals(), [`admin_current: ${why.current}`]);
    assert.equal(item('accounts/admin'), first);
    await fill('admin', 'Second-pass2', {current: 'Fresh-pass1'});
    await save('admin');
    assert.notEqual(item('accounts/admin'), first);
    await assertChanged('admin', 'Second-pass2', 'viewer');
    assert.equal(await statusOf('admin', 'Fresh-pass1'), 401);
    await page.check();
});

describe('the read-only user', () => {
    inBrowser('viewer');

    test('sees one form and no other users', async () => {
        assert.deepEqual(await page.tab.locator('main form').evaluateAll((forms) =>
            forms.map(({id}) => id)), ['viewer']);
        assert.deepEqual(await page.tab.locator('legend').allTextContents(), ['Your password']);
        assert.equal(await page.tab.getByText('Users', {exact: true}).count(), 0);
        assert.ok(!(await page.tab.content()).includes('admin'));
    });

    test('changes the own password', async () => {
        await fill('viewer', 'Viewers-new-one', {current: 'viewer'});
        await save('viewer');
        assert.deepEqual(await page.messages(),
            ['Changed: the password of viewer. The browser will ask for it.']);
        assert.equal(log(), 'Account: changed the password of viewer (viewer)\n');
        await assertChanged('viewer', 'Viewers-new-one', 'admin');
    });

    test('needs the current one', async () => {
        const before = snapshot();
        await fill('viewer', 'Viewers-new-one', {current: 'admin'});
        await save('viewer');
        assert.deepEqual(await page.messages(), [refusal]);
        assert.deepEqual(await page.refusals(), [`viewer_current: ${why.current}`]);
        assert.deepEqual(snapshot(), before);
    });
});

describe('the read-only user with a forged post', () => {
    const forged = [
        ['without the current password',
            {form: 'admin', admin_fresh: 'Fresh-pass1', admin_confirm: 'Fresh-pass1'}],
        ['with the own password', own('admin', 'Fresh-pass1', {current: 'viewer'})],
        ['with the right password', own('admin', 'Fresh-pass1')],
        ['with the fields of both', {...own('viewer', 'Fresh-pass1'), ...own('admin', 'Fresh-pass1')}]
    ];
    for (const [what, fields] of forged)
        test(`does not change the administrator's password, ${what}`, async () => {
            const before = snapshot();
            const answer = await post('account', fields, {user: 'viewer'});
            assert.equal(answer.status, 403);
            assert.deepEqual(messagesOf(answer), ['bad: You may change your own password only.']);
            assert.deepEqual(snapshot(), before);
            assert.equal(await statusOf('admin', 'admin'), 200);
        });

    test('does not change the own password as the administrator could', async () => {
        const before = snapshot();
        const answer = await post('account', viewers('Fresh-pass1'), {user: 'viewer'});
        assert.deepEqual(refusalsOf(answer), [`viewer_current: ${why.current}`]);
        assert.deepEqual(snapshot(), before);
    });

    test('does not get far with the token of the administrator', async () => {
        const before = snapshot();
        const answer = await post('account', {...own('viewer', 'Fresh-pass1'), token: await token('admin')},
            {user: 'viewer'});
        assert.equal(answer.status, 403);
        assert.deepEqual(snapshot(), before);
    });
});

describe('a new password', () => {
    const taken = ['12345678', 'a'.repeat(32), '#+,-./:;@', ':secret:', 'Letters09', '.'.repeat(32)];
    for (const password of taken)
        test(`may be ${password}`, async () => {
            assert.deepEqual(messagesOf(await post('account', own('admin', password))),
                ['good: Changed: the password of admin. The browser will ask for it.']);
            await assertChanged('admin', password, 'viewer');
        });

    test('may be the old one', async () => {
        await post('account', own('admin', 'Fresh-pass1'));
        const first = item('accounts/admin');
        const again = own('admin', 'Fresh-pass1', {current: 'Fresh-pass1'});
        const answer = await postAs('admin', 'Fresh-pass1', again);
        assert.deepEqual(messagesOf(answer),
            ['good: Changed: the password of admin. The browser will ask for it.']);
        assert.match(item('accounts/admin'), hash);
        assert.match(first, hash);
        assert.equal(await statusOf('admin', 'Fresh-pass1'), 200);
    });

    test('of each user is kept in the file when the other one is changed', async () => {
        await post('account', viewers('Viewers-new-one'));
        const viewer = htpasswd().viewer;
        await post('account', own('admin', 'Fresh-pass1'));
        assert.equal(htpasswd().viewer, viewer);
        assert.equal(await statusOf('viewer', 'Viewers-new-one'), 200);
        assert.equal(await statusOf('admin', 'Fresh-pass1'), 200);
    });

    // The copy is what the device starts with next time: without it the old password would be back.
    const torn = 'bad: The new password could not be written everywhere: the old one or the new one ' +
        'may be asked for. Try again.';

    test('is not called changed when its copy could not be written', async () => {
        fs.rmSync(path.join(state, 'flash/accounts/viewer'));
        const answer = await post('account', viewers('Viewers-new-one'));
        assert.deepEqual(messagesOf(answer), [torn]);
        assert.equal(stored('log'), '');
    });

    test('is not called changed when it could not be written', async () => {
        fs.rmSync(path.join(state, 'items/accounts/viewer'));
        const answer = await post('account', viewers('Viewers-new-one'));
        assert.deepEqual(messagesOf(answer), [torn]);
        assert.equal(await statusOf('viewer', 'viewer'), 200);
        assert.equal(stored('log'), '');
    });
});

describe('the page refuses', () => {
    const characters = ['two words', ' Fresh-pass1', 'Fresh-pass1 ', 'Fresh_pass1', 'Fresh!pass1',
        'Fresh"pass1', "Fresh'pass1", 'Fresh$pass1', 'Fresh<pass1', 'Fresh&pass1', 'Fresh%pass1',
        'Fresh=pass1', 'Frésh-pass1', 'Fresh€pass1', 'Fresh\tpass1', 'Fresh\npass1', 'Fresh-pass1😀',
        '😀😀😀😀😀😀😀😀', '••••••••'];
    const fresh = [
        ['', 'fresh', why.empty],
        ['a', 'fresh', why.length],
        ['1234567', 'fresh', why.length],
        ['a'.repeat(33), 'fresh', why.length],
        ['a'.repeat(1000), 'fresh', why.length],
        ...characters.map((password) => [password, 'fresh', why.character])
    ];
    const confirms =
        ['', 'fresh-pass1', 'Fresh-pass', 'Fresh-pass12', 'short', 'Fresh pass1', 'a'.repeat(33)];

    const forms = [
        ['admin', 'admin', (...args) => own('admin', ...args)],
        ['viewer', 'viewer', (...args) => own('viewer', ...args)],
        ['admin', 'viewer', (password, {confirm} = {}) => viewers(password, confirm)]
    ];
    for (const [user, account, fields] of forms) {
        const whose = user === account ? 'the own' : `${account}'s`;
        const refuse = async (posted, field, reason) => {
            const before = snapshot();
            const answer = await post('account', posted, {user});
            assert.equal(answer.status, 200);
            assert.deepEqual(refusalsOf(answer), [`${account}_${field}: ${reason}`]);
            assert.deepEqual(messagesOf(answer), [`bad: ${refusal}`]);
            assert.deepEqual(snapshot(), before);
        };

        for (const [password, field, reason] of fresh)
            test(`${JSON.stringify(password.slice(0, 40))} of ${user} as ${whose} password`, async () =>
                refuse(fields(password), field, reason));

        for (const confirm of confirms)
            test(`"${confirm}" of ${user} as ${whose} password again`, async () =>
                refuse(fields('Fresh-pass1', {confirm}), 'confirm', why.confirm));

        test(`${whose} password of ${user} without a field`, async () => {
            const {[`${account}_fresh`]: _, ...noFresh} = fields('Fresh-pass1');
            await refuse(noFresh, 'fresh', why.empty);
            const {[`${account}_confirm`]: __, ...noConfirm} = fields('Fresh-pass1');
            await refuse(noConfirm, 'confirm', why.confirm);
        });
    }

    for (const user of ['admin', 'viewer']) {
        const current = `${user}_current`;
        for (const wrong of ['', 'x', passwords[user].toUpperCase(), `${passwords[user]} `,
            ` ${passwords[user]}`, `${passwords[user]}x`, passwords[user].slice(1), 'Fresh-pass1'])
            test(`"${wrong}" as the current password of ${user}`, async () => {
                const before = snapshot();
                const answer = await post('account', own(user, 'Fresh-pass1', {current: wrong}), {user});
                assert.deepEqual(refusalsOf(answer), [`${current}: ${why.current}`]);
                assert.deepEqual(messagesOf(answer), [`bad: ${refusal}`]);
                assert.deepEqual(snapshot(), before);
            });

        test(`a post of ${user} without the current password`, async () => {
            const before = snapshot();
            const {[current]: _, ...others} = own(user, 'Fresh-pass1');
            assert.deepEqual(refusalsOf(await post('account', others, {user})),
                [`${current}: ${why.current}`]);
            assert.deepEqual(snapshot(), before);
        });

        // A stored hash is not a password.
        test(`the hash of the current password of ${user}`, async () => {
            await post('account', own(user, 'Fresh-pass1'), {user});
            const before = snapshot();
            const answer = await postAs(user, 'Fresh-pass1',
                own(user, 'Second-pass2', {current: item(`accounts/${user}`).trimEnd()}));
            assert.deepEqual(refusalsOf(answer), [`${current}: ${why.current}`]);
            assert.deepEqual(snapshot(), before);
        });
    }

    // Bytes that no text of JavaScript has: behind eight good characters they count, too.
    for (const bytes of ['Fresh-pass1%FF', 'Fresh-pass1%80', 'Fresh-pass1%C3', 'Fresh-pass1%E2%82x'])
        test(`bytes that are no characters: ${bytes}`, async () => {
            const before = snapshot();
            const answer = await post('account', {}, {
                body: `token=${encodeURIComponent(await token())}&form=viewer&viewer_fresh=${bytes}` +
                    `&viewer_confirm=${bytes}`
            });
            assert.deepEqual(refusalsOf(answer), [`viewer_fresh: ${why.character}`]);
            assert.deepEqual(snapshot(), before);
        });

    test('the form of anybody else', async () => {
        const before = snapshot();
        for (const account of ['root', 'Admin', '', '../admin']) {
            const answer = await post('account', {...own('admin', 'Fresh-pass1'), form: account});
            assert.deepEqual(messagesOf(answer), ['bad: This form is none of this page. Nothing was changed.']);
        }
        assert.deepEqual(snapshot(), before);
    });
});
