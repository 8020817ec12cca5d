// What the tests share: the server that the run script started, its state directory, and requests.
import {execFile} from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import net from 'node:net';
import path from 'node:path';

export const state = process.env.QMV_STATE;
export const uploads = path.join(state, 'uploads');
export const work = process.env.QMV_WORK;
export const streamed = process.env.QMV_STREAM !== '0';
export const port = Number(process.env.QMV_PORT);
export const site = `http://127.0.0.1:${port}`;
export const page = `${site}/first-page.cgi`;

const defaults = {device_name: 'router', user_name: 'admin', password: 'change-me'};

export function resetState() {
    for (const [name, value] of Object.entries(defaults))
        fs.writeFileSync(path.join(state, name), `${value}\n`);
    fs.rmSync(uploads, {recursive: true, force: true});
    fs.mkdirSync(uploads);
}

// All items as they are on disk, newline included.
export function items() {
    const entries = Object.keys(defaults).map(
        (name) => [name, fs.readFileSync(path.join(state, name), 'utf8')]);
    return Object.fromEntries(entries);
}

// The items as they are with some of them changed.
export const itemsWith = (changes) => Object.fromEntries(
    Object.entries({...defaults, ...changes}).map(([name, value]) => [name, `${value}\n`]));

export const storedFiles = () => fs.readdirSync(uploads).sort();
export const stored = (name) => fs.readFileSync(path.join(uploads, name));

// Waits until a condition holds; the time limit only ends a test that would never end.
export async function eventually(what, condition) {
    for (const end = Date.now() + 60_000; Date.now() < end;) {
        if (await condition())
            return;
        await new Promise((resolve) => setTimeout(resolve, 20));
    }
    throw new Error(`never happened: ${what}`);
}

// Runs curl on the page, or on the address among the arguments.
export function curl(...args) {
    if (!args.some((arg) => arg.startsWith(site)))
        args.push(page);
    const all = ['-q', '-sS', '-i', '--noproxy', '*', '--max-time', '300', ...args];
    return new Promise((resolve, reject) => {
        execFile('curl', all, {encoding: 'latin1', maxBuffer: 1 << 26}, (error, stdout, stderr) => {
            if (error)
                reject(new Error(`curl: ${stderr}`));
            else
                resolve(parseAnswer(stdout));
        });
    });
}

function parseAnswer(text) {
    while (/^HTTP\/1.1 1\d\d/.test(text))
        text = text.slice(text.indexOf('\r\n\r\n') + 4);
    const end = text.indexOf('\r\n\r\n');
    const [statusLine, ...lines] = text.slice(0, end).split('\r\n');
    const headers = Object.fromEntries(lines.map((line) => {
        const colon = line.indexOf(':');
        return [line.slice(0, colon).toLowerCase(), line.slice(colon + 1).trim()];
    }));
    return {status: Number(statusLine.split(' ')[1]), headers, body: text.slice(end + 4)};
}

// Sends a POST request whose body is given byte by byte.
export function post(body, headers) {
    return new Promise((resolve, reject) => {
        const request = http.request(page, {method: 'POST', headers, agent: false}, (answer) => {
            const chunks = [];
            answer.on('data', (chunk) => chunks.push(chunk));
            answer.on('end', () => resolve({
                status: answer.statusCode,
                body: Buffer.concat(chunks).toString('latin1')
            }));
        });
        request.on('error', reject);
        request.end(body);
    });
}

export const boundary = '----qmv-test-boundary';

// A multipart body. Parts are {head, content}: header lines as they are sent, and the content.
export function multipart(...parts) {
    const pieces = parts.flatMap(({head, content}) => [
        Buffer.from(`--${boundary}\r\n`), Buffer.from(`${head}\r\n\r\n`), Buffer.from(content),
        Buffer.from('\r\n')
    ]);
    return Buffer.concat([...pieces, Buffer.from(`--${boundary}--\r\n`)]);
}

export const filePart = (name, content) => ({
    head: `Content-Disposition: form-data; name="files"; filename="${name}"\r\n` +
        'Content-Type: application/octet-stream',
    content
});

export const postParts = (...parts) => post(multipart(...parts), {
    'Content-Type': `multipart/form-data; boundary=${boundary}`
});

// Begins an upload of so many bytes and returns the connection.
export async function beginUpload(body, length) {
    const socket = net.connect(port, '127.0.0.1');
    socket.on('error', () => {});
    await new Promise((resolve) => socket.once('connect', resolve));
    socket.write('POST /first-page.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n' +
        `Content-Type: multipart/form-data; boundary=${boundary}\r\n` +
        `Content-Length: ${length}\r\n\r\n`);
    await new Promise((resolve) => socket.write(body, resolve));
    return socket;
}

const entities = {
    amp: '&', lt: '<', gt: '>', quot: '"', auml: 'ä', ouml: 'ö', eacute: 'é', szlig: 'ß'
};

function decodeEntities(text) {
    return text.replace(/&(#?)(\w+);/g, (whole, hash, name) => {
        if (!hash && !(name in entities))
            throw new Error(`unexpected entity ${whole}`);
        return hash ? String.fromCharCode(Number(name)) : entities[name];
    });
}

// The messages of a page, as "kind: text". Text with a tag in it is not matched.
export function messages(html) {
    return [...html.matchAll(/^<p class="(good|same|bad)">([^<]*)<\/p>$/gm)]
        .map(([, kind, text]) => `${kind}: ${decodeEntities(text)}`);
}
