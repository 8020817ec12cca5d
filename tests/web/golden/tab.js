// The page in Chromium. A dialog, an error on the console or an uncaught exception is a problem.
import assert from 'node:assert/strict';
import {chromium} from 'playwright-core';
import {page} from './state.js';

let browser;
let problems = [];
export let tab;

export async function openBrowser() {
    browser = await chromium.launch({
        executablePath: '/usr/bin/chromium',
        args: [
            '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
            '--disable-background-networking', '--disable-component-update', '--disable-sync'
        ]
    });
    tab = await browser.newPage({viewport: {width: 1500, height: 900}});
    tab.on('dialog', (dialog) => {
        problems.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    tab.on('pageerror', (error) => problems.push(`exception: ${error}`));
    tab.on('console', (message) => {
        if (message.type() === 'error')
            problems.push(`console: ${message.text()}`);
    });
}

export const closeBrowser = () => browser.close();

export function assertNoProblems() {
    const found = problems;
    problems = [];
    assert.deepEqual(found, []);
}

export const load = () => tab.goto(page);

// Posts the form. Returns what the browser sent, by name.
export async function submit() {
    const [request] = await Promise.all([
        tab.waitForRequest((sent) => sent.method() === 'POST'), tab.waitForEvent('load'),
        tab.evaluate(() => document.getElementById('submit').click())
    ]);
    return new Map(new URLSearchParams(request.postData()));
}

// Sets fields as a user does, as far as a user can: to a text, to checked or not, or to an option.
export const change = (values) => tab.evaluate((entries) => {
    for (const [name, value] of entries) {
        const field = document.getElementById(name) ?? document.getElementsByName(name)[0];
        if (field.disabled || field.readOnly)
            throw new Error(`${name} cannot be changed`);
        if (typeof value === 'boolean')
            field.checked = value;
        else
            field.value = value;
        if (typeof value === 'string' && field.value !== value)
            throw new Error(`${name} does not take ${JSON.stringify(value)}`);
    }
}, Object.entries(values));
