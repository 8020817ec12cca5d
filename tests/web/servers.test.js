// What the first page and the smallest program answer and store under different web servers.
import assert from 'node:assert/strict';
import {randomBytes} from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import {beforeEach, describe, test} from 'node:test';
import {
    boundary, curl, filePart, items, itemsWith, messages, multipart, page, postParts, resetState,
    site, stored, storedFiles, work
} from './support.js';

const server = process.env.QMV_SERVER;
// Apache hands a body that comes in chunks on without its length, which a form needs.
const takesChunks = !server.startsWith('apache');
// mod_cgid loses the answer of a program that ends without reading its request.
const needsReading = server === 'apache-cgid';

describe(server, () => {
    beforeEach(resetState);

    test('shows the page with its items, also at the root', async () => {
        for (const address of [page, `${site}/`]) {
            const answer = await curl(address);
            assert.equal(answer.status, 200);
            assert.ok(answer.body.startsWith('<!DOCTYPE html>\r\n<html>\r\n<head>\r\n'));
            assert.ok(answer.body.endsWith('</body>\r\n</html>\r\n'));
            assert.ok(answer.body.includes('<input type="text" maxlength="32" value="router"'));
        }
    });

    test('passes the header lines of the program on', async () => {
        const {headers} = await curl();
        assert.equal(headers['content-type'], 'text/html; charset=utf-8');
        assert.match(headers['content-security-policy'], /^default-src 'none';/);
        assert.equal(headers['x-content-type-options'], 'nosniff');
        assert.equal(headers['cache-control'], 'no-store');
    });

    test('answers HEAD without a body', async () => {
        const answer = await curl('--head');
        assert.equal(answer.status, 200);
        assert.equal(answer.headers['content-type'], 'text/html; charset=utf-8');
        assert.equal(answer.body, '');
    });

    test('sends files with their types', async () => {
        const types = {
            'page.css': /^text\/css; ?charset=utf-8$/,
            'upload.js': /^text\/javascript; ?charset=utf-8$/,
            'icon.svg': /^image\/svg\+xml$/
        };
        for (const [file, type] of Object.entries(types)) {
            const answer = await curl(`${site}/${file}`);
            assert.equal(answer.status, 200);
            assert.match(answer.headers['content-type'], type);
        }
    });

    test('hands hostile characters of the address on as they were sent', async () => {
        const hostile = '<script>"\'&amp;%00';
        const answer = await curl(`${site}/hello.cgi?name=${encodeURIComponent(hostile)}`);
        assert.equal(answer.status, 200);
        assert.ok(answer.body.includes(
            '<p>Hello, &lt;script&gt;&quot;\'&amp;amp;%00!</p>\r\n'), answer.body);
        const raw = await curl(`${site}/hello.cgi?name=%3Cb%3E+%22%C3%A9%22`);
        assert.ok(raw.body.includes('<p>Hello, &lt;b&gt; &quot;&eacute;&quot;!</p>\r\n'), raw.body);
    });

    test('passes a form on, of which the program stores what it accepts', async () => {
        const answer = await curl('--data-raw',
            'device_name=attic-2&user_name=%3CAda%3E+%26+%22x%22&password=with+blank');
        assert.equal(answer.status, 200);
        assert.deepEqual(messages(answer.body), [
            'good: Device name was changed.', 'good: User name was changed.',
            'bad: Password was not changed. ASCII characters without blanks. To change it, ' +
                'replace all bullets.'
        ]);
        assert.ok(answer.body.includes('value="&lt;Ada&gt; &amp; &quot;x&quot;"'));
        assert.deepEqual(
            items(), itemsWith({device_name: 'attic-2', user_name: '<Ada> & "x"'}));
    });

    test('passes a form of 1 MiB on', async () => {
        const file = path.join(work, 'form');
        fs.writeFileSync(file, `ignored=${'x'.repeat(1 << 20)}&user_name=behind`);
        const answer = await curl('--data-binary', `@${file}`);
        assert.deepEqual(messages(answer.body), ['good: User name was changed.']);
    });

    test('passes an upload of 3 MiB on, byte by byte', async () => {
        const content = randomBytes(3 << 20);
        const answer = await postParts(filePart('firmware.bin', content));
        assert.deepEqual(messages(answer.body),
            [`good: firmware.bin was stored as firmware.bin, ${3 << 20} bytes.`]);
        assert.deepEqual(storedFiles(), ['firmware.bin']);
        assert.ok(stored('firmware.bin').equals(content));
    });

    const inChunks = ['-H', 'Transfer-Encoding: chunked', '-H', 'Expect:'];
    const noLength = 'getcgivars(): No Content-Length was sent with the POST request.\r\n';

    test(`${takesChunks ? 'passes a form in chunks on' : 'has no form in chunks taken'}`,
        {skip: needsReading}, async () => {
            const answer = await curl(...inChunks, '-d', 'user_name=chunk');
            if (!takesChunks) {
                assert.equal(answer.body, noLength);
                return assert.deepEqual(items(), itemsWith({}));
            }
            assert.deepEqual(messages(answer.body), ['good: User name was changed.']);
            assert.deepEqual(items(), itemsWith({user_name: 'chunk'}));
        });

    test(`${takesChunks ? 'passes an upload in chunks on' : 'has no upload in chunks taken'}`,
        {skip: needsReading}, async () => {
            const content = randomBytes(takesChunks ? 3 << 20 : 1000);
            const file = path.join(work, 'upload');
            fs.writeFileSync(file, multipart(filePart('chunks.bin', content)));
            const answer = await curl(...inChunks, '--data-binary', `@${file}`,
                '-H', `Content-Type: multipart/form-data; boundary=${boundary}`);
            if (!takesChunks) {
                assert.equal(answer.body, noLength);
                return assert.deepEqual(storedFiles(), []);
            }
            assert.deepEqual(messages(answer.body),
                [`good: chunks.bin was stored as chunks.bin, ${3 << 20} bytes.`]);
            assert.ok(stored('chunks.bin').equals(content));
        });

    test('refuses a request that is too large', async () => {
        const file = path.join(work, 'large');
        fs.writeFileSync(file, '');
        fs.truncateSync(file, (16 << 20) + 1);
        // The body is only sent when the server asks for it.
        const answer = await curl('-H', 'Expect: 100-continue', '--expect100-timeout', '300',
            '--data-binary', `@${file}`);
        assert.equal(answer.status, 413);
        assert.deepEqual(items(), itemsWith({}));
    });

    test('refuses what is not there, and what is outside', async () => {
        for (const name of ['none.cgi', 'none', '../state/password', '%2e%2e/state/password']) {
            const {status, body} = await curl('--path-as-is', `${site}/${name}`);
            assert.ok([400, 403, 404].includes(status), `${name}: ${status}`);
            assert.ok(!body.includes('change-me'));
        }
        assert.equal((await curl(`${site}/none.cgi`)).status, 404);
    });

    test('passes the status of a refusal on', async () => {
        const foreign = ['-H', 'Origin: http://attacker.example'];
        assert.equal((await curl(...foreign)).status, 403);
        if (!needsReading)
            assert.equal((await curl(...foreign, '-d', 'user_name=x')).status, 403);
        assert.deepEqual(items(), itemsWith({}));
    });

    // The new page refuses to work here: it is not told where its items are.
    test('passes on what a program answers that reads the request first', async () => {
        for (const size of [1, 4000, 1 << 20]) {
            const file = path.join(work, 'refused');
            fs.writeFileSync(file, 'x'.repeat(size));
            const answer = await curl('--data-binary', `@${file}`, `${site}/page.cgi`);
            assert.equal(answer.status, 500);
            assert.equal(answer.body, 'QMV_ITEMS is not set.\r\n');
        }
    });
});
