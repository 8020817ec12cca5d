// What the tests of the console share: the server that the run script started, its state directory,
// two users, browser tabs that note every error, requests byte by byte.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import {chromium} from 'playwright-core';
import {boundary, multipart} from '../support.js';

export const state = process.env.QMV_STATE;
export const port = Number(process.env.QMV_PORT);
export const site = `http://127.0.0.1:${port}`;
export const passwords = {admin: 'admin', viewer: 'viewer'};

// The pages, in the order of the navigation.
export const pages = ['overview', 'lan', 'internet', 'vpn', 'certificates', 'schedules', 'forwards',
    'hosts', 'account', 'maintenance'];

// ---- The state directory ----

const pristine = path.join(process.env.QMV_WORK, 'pristine');
const parts = ['certificates', 'files', 'firmware', 'flash', 'forwards.db', 'htpasswd', 'items', 'keys',
    'log', 'uploads'];

if (!fs.existsSync(pristine)) {
    for (const part of parts)
        fs.cpSync(path.join(state, part), path.join(pristine, part), {recursive: true});
}

// Puts everything back to what a new state directory has.
export function reset() {
    for (const part of parts) {
        fs.rmSync(path.join(state, part), {recursive: true, force: true});
        fs.cpSync(path.join(pristine, part), path.join(state, part), {recursive: true});
    }
    fs.rmSync(path.join(state, 'run/simulator'), {force: true});
}

// A file below the state directory, as text. An item is its value and a newline.
export const stored = (name) => fs.readFileSync(path.join(state, name), 'utf8');
export const item = (name) => stored(`items/${name}`);
export const setItem = (name, value) =>
    fs.writeFileSync(path.join(state, 'items', name), `${value}\n`);
export const list = (folder) => fs.readdirSync(path.join(state, folder)).sort();

// All files below the state directory that a request may change, with their contents. Two calls are
// equal when nothing was changed between them.
export function snapshot() {
    const files = {};
    const add = (name) => {
        const file = path.join(state, name);
        if (fs.statSync(file).isDirectory())
            fs.readdirSync(file).forEach((entry) => add(`${name}/${entry}`));
        else
            files[name] = fs.readFileSync(file, 'latin1');
    };
    parts.forEach(add);
    return files;
}

// ---- Requests ----

// Sends a request. Options: method, user (null: none), password, headers, body.
export function send(address, {method = 'GET', user = 'admin', password = passwords[user],
    headers = {}, body} = {}) {
    return new Promise((resolve, reject) => {
        const auth = user === null ? undefined : `${user}:${password}`;
        const request = http.request(site + address, {method, headers, auth, agent: false}, (answer) => {
            const chunks = [];
            answer.on('data', (chunk) => chunks.push(chunk));
            answer.on('end', () => resolve({
                status: answer.statusCode,
                headers: answer.headers,
                body: Buffer.concat(chunks).toString('utf8')
            }));
        });
        request.on('error', reject);
        request.end(body);
    });
}

// The token that a user's pages carry. It holds as long as the password and the secret.
const tokens = new Map();
const secret = () => fs.existsSync(path.join(state, 'secret')) ? stored('secret') : '';

export async function token(user = 'admin', page = 'account') {
    const key = `${page} ${user} ${stored(`items/accounts/${user}`)} ${secret()}`;
    if (!tokens.has(key)) {
        const {body} = await send(`/${page}.cgi`, {user});
        tokens.set(key, /name="token" value="([^"]+)"/.exec(body)[1]);
    }
    return tokens.get(key);
}

// Posts fields as a form of a page would, with the user's token unless another one is given.
export async function post(page, fields, {user = 'admin', ...options} = {}) {
    const all = {token: await token(user), ...fields};
    return send(`/${page}.cgi`, {
        method: 'POST',
        user,
        headers: {'Content-Type': 'application/x-www-form-urlencoded'},
        body: new URLSearchParams(all).toString(),
        ...options
    });
}

// The parts of a multipart form: a text, and a file with the name that a client gives it.
export const textPart = (name, content) =>
    ({head: `Content-Disposition: form-data; name="${name}"`, content});
export const filePart = (name, file, content) => ({
    head: `Content-Disposition: form-data; name="${name}"; filename="${file}"\r\n` +
        'Content-Type: application/octet-stream',
    content
});

// Posts such parts as they are.
export const postParts = (page, parts, options = {}) => send(`/${page}.cgi`, {
    method: 'POST',
    headers: {'Content-Type': `multipart/form-data; boundary=${boundary}`},
    body: multipart(...parts),
    ...options
});

// Posts a form with a file as a page does, with the user's token in front.
export const postFile = async (page, form, file, {user = 'admin'} = {}) =>
    postParts(page, [textPart('token', await token(user)), textPart('form', form), file], {user});

// The messages of an answer, as "kind: text", and the refusals, as "field: text".
export const messagesOf = ({body}) =>
    [...body.matchAll(/<p class="(good|same|bad)">(.*)<\/p>$/gm)].map(([, kind, text]) => `${kind}: ${text}`);
export const refusalsOf = ({body}) =>
    [...body.matchAll(/^<p class="error" id="(.*)-error">(.*)<\/p>/gm)].map(([, id, text]) => `${id}: ${text}`);

// ---- The browser ----

export const launch = () => chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync']
});

// A tab of a user's own. Its `problems` are dialogs, errors on the console, exceptions, and requests
// to anywhere but the console; check() fails when there are any, and closes it.
export async function open(browser, {user = 'admin', password = passwords[user], ...options} = {}) {
    const context = await browser.newContext({httpCredentials: {username: user, password}, ...options});
    const tab = await context.newPage();
    const problems = [];
    tab.on('dialog', (dialog) => {
        problems.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    tab.on('pageerror', (error) => problems.push(`exception: ${error}`));
    tab.on('console', (message) => {
        if (message.type() === 'error')
            problems.push(`console: ${message.text()}`);
    });
    tab.on('request', (request) => {
        if (!request.url().startsWith(site) && !request.url().startsWith('data:'))
            problems.push(`request: ${request.url()}`);
    });
    const check = async () => {
        await context.close();
        assert.deepEqual(problems, []);
    };
    return {
        tab, context, problems, check,
        visit: (page) => tab.goto(`${site}/${page}.cgi`),
        field: (label) => tab.getByLabel(label, {exact: true}),
        // Presses a button that sends its form, and waits for the page that answers.
        press: (name) => Promise.all([
            tab.waitForEvent('load'), tab.getByRole('button', {name, exact: true}).click()
        ]),
        messages: () => tab.locator('#messages p').allTextContents(),
        refusals: async () => {
            const found = await tab.locator('.error').all();
            return Promise.all(found.map(async (error) =>
                `${(await error.getAttribute('id')).replace(/-error$/, '')}: ${await error.textContent()}`));
        }
    };
}
