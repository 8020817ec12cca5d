// What the example programs answer to requests, and what they store.
import assert from 'node:assert/strict';
import {spawnSync} from 'node:child_process';
import {randomBytes} from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import {beforeEach, describe, test} from 'node:test';
import {
    beginUpload, boundary, curl, eventually, filePart, items, itemsWith, messages, multipart, page,
    post, postParts, resetState, site, state, stored, storedFiles, streamed, uploads, work
} from './support.js';

const temporaryFiles = () => storedFiles().filter((name) => name.startsWith('.part-'));

function randomFile(name, size) {
    const file = path.join(work, name);
    fs.writeFileSync(file, randomBytes(size));
    return file;
}

// A program is told the length of the request body when it starts: a server that streams bodies cannot
// pass on one that comes in chunks, unless it arrived at once.
const isRefusedForLength = (answer) => streamed && answer.status === 411;

// Posts form variables.
const postForm = (form) => curl('--data-raw', new URLSearchParams(form).toString());

describe(streamed ? 'streamed request bodies' : 'buffered request bodies', () => {
    beforeEach(resetState);

    describe('the page', () => {
        test('shows the items in boxes', async () => {
            const answer = await curl();
            assert.equal(answer.status, 200);
            assert.ok(answer.body.startsWith('<!DOCTYPE html>\r\n<html>\r\n<head>\r\n'));
            assert.ok(answer.body.endsWith('</body>\r\n</html>\r\n'));
            const boxes = answer.body.split('\n').filter((line) => line.startsWith('<input type="'));
            assert.deepEqual(boxes.slice(0, 3), [
                '<input type="text" maxlength="32" value="router" id="device_name"' +
                    ' name="device_name" aria-describedby="device_name_hint" required' +
                    ' autocomplete="off">',
                '<input type="text" maxlength="64" value="admin" id="user_name" name="user_name"' +
                    ' aria-describedby="user_name_hint" required autocomplete="off">',
                '<input type="password" maxlength="64" value="' + '&#8226;'.repeat(9) + '"' +
                    ' id="password" name="password" aria-describedby="password_hint" required' +
                    ' autocomplete="off">'
            ]);
            assert.ok(!answer.body.includes('change-me'));
            assert.deepEqual(messages(answer.body), []);
        });

        test('carries security headers', async () => {
            const {headers} = await curl();
            assert.equal(headers['content-type'], 'text/html; charset=utf-8');
            assert.match(headers['content-security-policy'], /^default-src 'none';/);
            assert.equal(headers['x-content-type-options'], 'nosniff');
            assert.equal(headers['cache-control'], 'no-store');
        });

        test('is answered to HEAD without a body', async () => {
            const answer = await curl('--head');
            assert.equal(answer.status, 200);
            assert.equal(answer.headers['content-type'], 'text/html; charset=utf-8');
            assert.equal(answer.body, '');
        });

        test('changes nothing for variables in the address', async () => {
            const answer = await curl(`${page}?device_name=changed&password=changed`);
            assert.equal(answer.status, 200);
            assert.deepEqual(items(), itemsWith({}));
        });

        test('disables the box of a missing item', async () => {
            fs.unlinkSync(path.join(state, 'user_name'));
            const answer = await curl();
            assert.match(answer.body, /value="" id="user_name".* disabled autocomplete="off">/);
            assert.match(answer.body, /value="router" id="device_name"/);
        });

        test('is where the root leads, with its style sheet, script and icon', async () => {
            const answer = await curl(`${site}/`);
            assert.equal(answer.status, 302);
            assert.equal(answer.headers.location, '/first-page.cgi');
            const types = {
                'page.css': 'text/css; charset=utf-8',
                'upload.js': 'text/javascript; charset=utf-8',
                'icon.svg': 'image/svg+xml'
            };
            for (const [file, type] of Object.entries(types))
                assert.equal((await curl(`${site}/${file}`)).headers['content-type'], type);
        });
    });

    describe('hello', () => {
        test('greets the name in the address, escaped', async () => {
            const answer = await curl(`${site}/hello.cgi?name=%3Cb%3E+%22A%22`);
            assert.equal(answer.status, 200);
            assert.ok(answer.body.includes('<p>Hello, &lt;b&gt; &quot;A&quot;!</p>\r\n'));
        });
    });

    describe('a form', () => {
        test('changes items, and says so', async () => {
            const answer = await postForm({
                device_name: 'attic-2', user_name: 'Ada & "Grace" <x>; 100%+', password: 'S3cret!%&+'
            });
            assert.deepEqual(messages(answer.body), [
                'good: Device name was changed.', 'good: User name was changed.',
                'good: Password was changed.'
            ]);
            assert.deepEqual(items(), itemsWith({
                device_name: 'attic-2', user_name: 'Ada & "Grace" <x>; 100%+', password: 'S3cret!%&+'
            }));
        });

        test('with the same values leaves the files alone', async () => {
            const before = fs.statSync(path.join(state, 'user_name'), {bigint: true}).mtimeNs;
            const answer = await postForm(
                {device_name: 'router', user_name: 'admin', password: 'change-me'});
            assert.deepEqual(messages(answer.body), [
                'same: Device name stays as it was.', 'same: User name stays as it was.',
                'same: Password stays as it was.'
            ]);
            const after = fs.statSync(path.join(state, 'user_name'), {bigint: true}).mtimeNs;
            assert.equal(after, before);
        });

        test('sent with Expect: 100-continue is read', async () => {
            const answer = await curl('-H', 'Expect: 100-continue', '-d', 'user_name=patient');
            assert.deepEqual(messages(answer.body), ['good: User name was changed.']);
        });

        test('sent in chunks is read', async () => {
            const answer = await curl('-H', 'Transfer-Encoding: chunked', '-d', 'user_name=chunk');
            if (isRefusedForLength(answer))
                return assert.deepEqual(items(), itemsWith({}));
            assert.deepEqual(messages(answer.body), ['good: User name was changed.']);
            assert.deepEqual(items(), itemsWith({user_name: 'chunk'}));
        });

        test('with variables that the page does not know changes nothing', async () => {
            const answer = await postForm([['other', 'x'], ['', 'y'], ['../password', 'z']]);
            assert.deepEqual(messages(answer.body), []);
            assert.deepEqual(items(), itemsWith({}));
        });

        const hint = {
            device_name: 'Letters, digits and hyphens, not beginning with a hyphen.',
            password: 'ASCII characters without blanks. To change it, replace all bullets.'
        };
        const bullets = '\u2022'.repeat(9);
        const long = (letter, count) => letter.repeat(count);
        const rows = [
            // name, posted, stored, message
            ['device_name', '-my router!', 'myrouter', 'bad: Device name was changed.' +
                ` Some characters were left out. ${hint.device_name}`],
            ['device_name', ' router', 'router', 'bad: Device name stays as it was.' +
                ` Some characters were left out. ${hint.device_name}`],
            ['device_name', '!?', 'router', `bad: Device name was not changed. ${hint.device_name}`],
            ['device_name', '', 'router',
                'bad: Device name was not changed. Use 1 to 32 characters, no emoji.'],
            ['device_name', long('a', 32), long('a', 32), 'good: Device name was changed.'],
            ['device_name', long('a', 33), 'router',
                'bad: Device name was not changed. Use 1 to 32 characters, no emoji.'],
            ['user_name', 'Zoë €', 'Zoë €', 'good: User name was changed.'],
            ['user_name', long('€', 64), long('€', 64), 'good: User name was changed.'],
            ['user_name', long('€', 65), 'admin',
                'bad: User name was not changed. Use 1 to 64 characters, no emoji.'],
            ['user_name', 'smile \u{1F600}', 'admin',
                'bad: User name was not changed. Use 1 to 64 characters, no emoji.'],
            ['user_name', 'two\nlines', 'twolines', 'bad: User name was changed.' +
                ' Some characters were left out. Any text of one line.'],
            ['password', bullets, 'change-me', 'same: Password stays as it was.'],
            ['password', '\u2022', 'change-me', 'same: Password stays as it was.'],
            ['password', `${bullets}new`, 'change-me',
                `bad: Password was not changed. ${hint.password}`],
            ['password', `new${bullets}`, 'change-me',
                `bad: Password was not changed. ${hint.password}`],
            ['password', 'with blank', 'change-me',
                `bad: Password was not changed. ${hint.password}`],
            ['password', 'Passwört', 'change-me', `bad: Password was not changed. ${hint.password}`],
            ['password', '', 'change-me',
                'bad: Password was not changed. Use 1 to 64 characters, no emoji.'],
            ['password', long('p', 65), 'change-me',
                'bad: Password was not changed. Use 1 to 64 characters, no emoji.'],
            ['password', 'pass\u{1F600}', 'change-me',
                'bad: Password was not changed. Use 1 to 64 characters, no emoji.']
        ];
        for (const [name, posted, kept, message] of rows) {
            test(`with ${name} ${JSON.stringify(posted)} stores ${JSON.stringify(kept)}`, async () => {
                const answer = await postForm({[name]: posted});
                assert.deepEqual(messages(answer.body), [message]);
                assert.deepEqual(items(), itemsWith({[name]: kept}));
            });
        }

        test('that is malformed is refused without harm', async () => {
            for (const body of ['user_name=%', 'user_name=%zz', 'user_name=%ff%fe', '&;&=&==']) {
                const answer = await curl('--data-raw', body);
                assert.equal(answer.status, 200);
                assert.ok(answer.body.endsWith('</html>\r\n'));
            }
            assert.equal(items().password, 'change-me\n');
        });

        test('of 1 MiB is read whole', async () => {
            const file = path.join(work, 'form');
            fs.writeFileSync(file, `ignored=${'x'.repeat(1 << 20)}&user_name=behind`);
            const answer = await curl('--data-binary', `@${file}`);
            assert.deepEqual(messages(answer.body), ['good: User name was changed.']);
        });

        test('of another site changes nothing', async () => {
            for (const origin of ['http://attacker.example', 'null', `${site}0`]) {
                const answer = await curl('-H', `Origin: ${origin}`, '-d', 'user_name=x');
                assert.equal(answer.status, 403);
            }
            assert.deepEqual(items(), itemsWith({}));
            const answer = await curl('-H', `Origin: ${site}`, '-d', 'user_name=x');
            assert.equal(answer.status, 200);
        });

        test('for an item that is missing is refused', async () => {
            fs.unlinkSync(path.join(state, 'user_name'));
            const answer = await postForm({user_name: 'x', device_name: 'y'});
            assert.deepEqual(messages(answer.body),
                ['bad: User name could not be written.', 'good: Device name was changed.']);
        });
    });

    describe('an upload', () => {
        const sizes = {'0 bytes': 0, '1 byte': 1, '1 MiB': 1 << 20, '100 MiB': 100 << 20};
        for (const [label, size] of Object.entries(sizes)) {
            test(`of ${label} is stored as it was sent`, async () => {
                const file = randomFile('sent.bin', size);
                const answer = await curl('-F', `files=@${file}`);
                assert.deepEqual(messages(answer.body),
                    [`good: sent.bin was stored as sent.bin, ${size} bytes.`]);
                assert.deepEqual(storedFiles(), ['sent.bin']);
                assert.equal(spawnSync('cmp', [file, path.join(uploads, 'sent.bin')]).status, 0);
                fs.unlinkSync(file);
            });
        }

        for (const header of ['Expect: 100-continue', 'Expect:', 'Transfer-Encoding: chunked']) {
            test(`with the header "${header}" is stored as it was sent`, async () => {
                const file = randomFile('sent.bin', 3_000_001);
                const answer = await curl('-H', header, '-F', `files=@${file}`);
                if (isRefusedForLength(answer))
                    return assert.deepEqual(storedFiles(), []);
                assert.deepEqual(messages(answer.body),
                    ['good: sent.bin was stored as sent.bin, 3000001 bytes.']);
                assert.ok(stored('sent.bin').equals(fs.readFileSync(file)));
            });
        }

        test('may hold what looks like a delimiter', async () => {
            const near = [
                '\r', '\r\n', '\r\n-', '\r\n--', `\r\n--${boundary.slice(0, -1)}`, `--${boundary}`,
                `\n--${boundary}--`, `\r\n-${boundary}`, '\r\r\n--', '\0'
            ];
            const filler = [0, 1, 900, 980, 1000, 1023, 1024, 1025, 2047].map((n) => 'x'.repeat(n));
            const content = Buffer.from(filler.flatMap((f) => near.map((n) => f + n)).join(''));
            const answer = await postParts(filePart('near.bin', content));
            assert.deepEqual(messages(answer.body),
                [`good: near.bin was stored as near.bin, ${content.length} bytes.`]);
            assert.ok(stored('near.bin').equals(content));
        });

        test('replaces a file of the same name', async () => {
            await postParts(filePart('a.txt', 'a first text'));
            await postParts(filePart('a.txt', 'second'));
            assert.equal(stored('a.txt').toString(), 'second');
            assert.deepEqual(storedFiles(), ['a.txt']);
        });

        test('may hold several files and fields', async () => {
            const field = (name, content) =>
                ({head: `Content-Disposition: form-data; name="${name}"`, content});
            const answer = await postParts(
                field('user_name', 'not taken'), filePart('one.txt', '1'), field('', ''),
                filePart('two.txt', '22'), filePart('', ''), field('<script>', '<b>'),
                filePart('three.txt', ''), {head: 'X-Other: part', content: 'skipped'});
            assert.deepEqual(messages(answer.body), [
                'good: one.txt was stored as one.txt, 1 bytes.',
                'good: two.txt was stored as two.txt, 2 bytes.',
                'good: three.txt was stored as three.txt, 0 bytes.'
            ]);
            assert.deepEqual(storedFiles(), ['one.txt', 'three.txt', 'two.txt']);
            assert.deepEqual(items(), itemsWith({}));
        });

        test('from several clients at once is stored whole for each', async () => {
            const contents = Array.from({length: 6}, () => randomBytes(2_000_003));
            await Promise.all(contents.map((c, i) => postParts(filePart(`f${i}`, c))));
            contents.forEach((content, i) => assert.ok(stored(`f${i}`).equals(content)));
            await Promise.all(contents.map((c) => postParts(filePart('same', c))));
            assert.ok(contents.some((content) => stored('same').equals(content)));
            assert.equal(storedFiles().length, contents.length + 1);
        });

        const names = [
            // what the client says, what the file is stored as, what is shown when that differs
            ['plain-1.tar.gz', 'plain-1.tar.gz'],
            ['../../etc/passwd', 'passwd'],
            ['..\\..\\boot.ini', 'boot.ini'],
            ['C:\\fakepath\\a.txt', 'a.txt'],
            ['/absolute', 'absolute'],
            ['directory/', 'unnamed'],
            ['..', 'unnamed'],
            ['.', 'unnamed'],
            ['....//', 'unnamed'],
            ['.hidden', 'hidden'],
            ['.part-1', 'part-1'],
            ['-rf', 'rf'],
            ['a;b&c=d.txt', 'abcd.txt'],
            ['a b\tc.txt', 'abc.txt'],
            ['<img src=x onerror=alert(1)>.png', 'imgsrcxonerroralert1.png'],
            ['%22><script>alert(1)</script>.txt', 'script.txt'],
            ["' onclick='alert(1)", 'onclickalert1'],
            ['&lt;b&gt;&amp;', 'ltbgtamp'],
            ['%2e%2e%2fetc%2fpasswd', '2e2e2fetc2fpasswd'],
            ['%s%n%d', 'snd'],
            ['$(reboot)`reboot`|reboot', 'rebootrebootreboot'],
            ['größe-é.txt', 'gre-.txt'],
            ['日本語', 'unnamed'],
            ['\u{1F4BE}.bin', 'bin', '.bin'],
            ['\u202Etxt.exe', 'txt.exe'],
            [`${'x'.repeat(200)}.txt`, 'x'.repeat(64)]
        ];
        for (const [name, storedName, shown = name] of names) {
            test(`named ${JSON.stringify(name)} is stored as ${storedName}`, async () => {
                const answer = await postParts(filePart(name, 'content'));
                assert.deepEqual(messages(answer.body),
                    [`good: ${shown} was stored as ${storedName}, 7 bytes.`]);
                assert.deepEqual(storedFiles(), [storedName]);
                assert.equal(stored(storedName).toString(), 'content');
                assert.deepEqual(fs.readdirSync(state).sort(),
                    ['device_name', 'password', 'uploads', 'user_name']);
            });
        }

        test('keeps the names that curl quotes harmless', async () => {
            const file = randomFile('sent.bin', 10);
            const answer = await curl('-F', `files=@${file};filename="../a\\"<b>.txt"`);
            assert.deepEqual(messages(answer.body),
                ['good: ../a%22<b>.txt was stored as a22b.txt, 10 bytes.']);
        });

        test('ends its name at a quote', async () => {
            await postParts(filePart('a"; filename="b.txt', 'x'));
            assert.equal(storedFiles().length, 1);
            assert.match(storedFiles()[0], /^(a|b\.txt)$/);
        });

        const noFile = {
            'without a chosen file': multipart(filePart('', '')),
            'with a file name that is not quoted': multipart(
                {head: 'Content-Disposition: form-data; name="f"; filename=a.txt', content: 'x'}),
            'with a header line longer than a line may be': multipart(
                filePart('x'.repeat(4000), 'content')),
            'with a NUL in the file name': multipart(filePart('a\0b', 'content')),
            'without any part': multipart(),
            'with another boundary than it says': Buffer.from('--other\r\n\r\nx\r\n--other--\r\n'),
            'of garbage': randomBytes(5000)
        };
        for (const [label, body] of Object.entries(noFile)) {
            test(`${label} stores nothing`, async () => {
                const answer = await post(
                    body, {'Content-Type': `multipart/form-data; boundary=${boundary}`});
                assert.equal(answer.status, 200);
                assert.deepEqual(messages(answer.body), ['bad: No file arrived.']);
                assert.deepEqual(storedFiles(), []);
            });
        }

        test('without its closing delimiter is removed', async () => {
            const whole = multipart(filePart('a.txt', 'content'));
            const answer = await post(whole.subarray(0, whole.indexOf('content') + 5),
                {'Content-Type': `multipart/form-data; boundary=${boundary}`});
            assert.deepEqual(messages(answer.body),
                ['bad: a.txt was cut off and was not stored.']);
            assert.deepEqual(storedFiles(), []);
        });

        test('that cannot be stored is refused', async () => {
            fs.rmdirSync(uploads);
            const answer = await postParts(filePart('a.txt', 'content'));
            assert.deepEqual(messages(answer.body), ['bad: a.txt could not be stored.']);
        });

        test('larger than the server takes is refused', async () => {
            const socket = await beginUpload('', 300 << 20);
            const answer = await new Promise((resolve) => socket.once('data', resolve));
            socket.destroy();
            assert.match(answer.toString(), /^HTTP\/1.1 413 /);
        });

        test('that the client aborts leaves nothing behind', async () => {
            const body = multipart(filePart('a.bin', randomBytes(3 << 20)));
            const socket = await beginUpload(body.subarray(0, 2 << 20), body.length);
            if (streamed)
                await eventually('the upload has begun', () => temporaryFiles().length === 1);
            socket.destroy();
            await eventually('the upload is gone', () => storedFiles().length === 0);
            await eventually('the request body is gone',
                () => !fs.readdirSync(work).some((name) => name.startsWith('lighttpd-upload')));
            assert.deepEqual(messages((await curl()).body), []);
            assert.deepEqual(storedFiles(), []);
        });

        test('whose process is killed is removed by the next request', {skip: !streamed}, async () => {
            const body = multipart(filePart('a.bin', randomBytes(3 << 20)));
            const socket = await beginUpload(body.subarray(0, 2 << 20), body.length);
            await eventually('the upload has begun', () => temporaryFiles().length === 1);
            process.kill(Number(temporaryFiles()[0].slice('.part-'.length)), 'SIGKILL');
            await eventually('the upload is removed', async () => {
                await curl();
                return storedFiles().length === 0;
            });
            socket.destroy();
        });

        test('is not disturbed by other requests', {skip: !streamed}, async () => {
            const content = randomBytes(3 << 20);
            const body = multipart(filePart('a.bin', content));
            const socket = await beginUpload(body.subarray(0, 2 << 20), body.length);
            await eventually('the upload has begun', () => temporaryFiles().length === 1);
            await curl();
            await postParts(filePart('b.bin', 'other'));
            assert.equal(temporaryFiles().length, 1);
            socket.end(body.subarray(2 << 20));
            await eventually('the upload is whole', () => storedFiles().includes('a.bin'));
            assert.ok(stored('a.bin').equals(content));
            assert.deepEqual(storedFiles(), ['a.bin', 'b.bin']);
        });
    });

    describe('a malformed request', () => {
        const rows = [
            ['with the method PUT', ['-X', 'PUT', '-d', 'user_name=x'],
                'getcgivars(): Unsupported REQUEST_METHOD.'],
            ['with the method DELETE', ['-X', 'DELETE'],
                'getcgivars(): Unsupported REQUEST_METHOD.'],
            ['without a content type', ['-H', 'Content-Type:', '-d', 'user_name=x'],
                'getcgivars(): Unsupported Content-Type.'],
            ['with a content type that is no form', ['-H', 'Content-Type: text/plain', '-d', 'x=y'],
                'getcgivars(): Unsupported Content-Type.'],
            ['without a boundary', ['-H', 'Content-Type: multipart/form-data', '-d', 'x'],
                'getcgivars(): Unsupported Content-Type.'],
            ['without a body', ['-d', ''],
                'getcgivars(): No Content-Length was sent with the POST request.']
        ];
        for (const [label, args, message] of rows) {
            test(`${label} is answered with a message`, async () => {
                const answer = await curl(...args);
                assert.equal(answer.headers['content-type'], 'text/plain');
                assert.equal(answer.body, `${message}\r\n`);
                assert.deepEqual(items(), itemsWith({}));
            });
        }
    });
});
