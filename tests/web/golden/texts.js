// Hostile texts, and what the library keeps of each.
const latin1 = (from, to) =>
    String.fromCharCode(...Array.from({length: to - from + 1}, (_, i) => from + i));

// Texts of whole characters up to U+FFFF: everything of them is kept everywhere.
const whole = [
    '"\'`"',
    '<b>"bold"</b>',
    '</textarea><script>alert(1)</script>',
    '</title><script>alert(1)</script>',
    '</option></select><script>alert(1)</script>',
    '</button></form><img src=x onerror=alert(1)>',
    '"><script>alert(1)</script>',
    '"><img src=x onerror=alert(1)>',
    '" autofocus onfocus="alert(1)',
    "' autofocus onfocus='alert(1)",
    '--><script>alert(1)</script><!--',
    ']]><svg onload=alert(1)>',
    '&lt;b&gt; &amp;amp; &quot; &#60;b&#62; &#x3C;b &',
    '&nbsp &copy; &notin; &amp',
    '%3Cb%3E %22 %s%n%*c \\u003cb \\',
    'x" selected disabled data-value="y',
    latin1(0xA0, 0xCF),
    latin1(0xD0, 0xFF),
    '中文字 日本語 かな 한국어',
    'a\u2028b\u2029c',
    '\u202Eright to left\u202C \u200B\u200D\uFEFF',
    '\uFFFD\uE000\uFFFC',
    '\u260E\uFE0F\u2714 e\u0301'
];

const bytesOf = (text) => Buffer.from(text, 'latin1');
const utf8 = (text) => Buffer.from(text);

// A malformed sequence makes a password box show as many bullets as fit.
const full = 16;

// Each row says by hand what is shown:
//   text     where malformed sequences are left out: elements, option values and labels
//   value    where a text ends at its first malformed sequence: value, data-value, alt
//   area     in a text area, whose file is read up to its first malformed sequence; it is no item,
//            so that control characters do not end it
//   label    of a file with such a name, where control characters do not end it either
//   bullets  in a password box
const special = [
    // Characters above U+FFFF are four bytes, each of them malformed.
    {name: 'an emoji', bytes: utf8('a\u{1F600}b'), text: 'ab', value: 'a', bullets: full},
    {
        name: 'a sequence of emoji', bytes: utf8('\u{1F469}\u200D\u{1F469}\u200D\u{1F467}!'),
        text: '\u200D\u200D!', value: '', bullets: full
    },
    {
        name: 'a flag at the end', bytes: utf8('x\u{1F1E9}\u{1F1EA}'), text: 'x', value: 'x',
        bullets: full
    },
    {name: 'U+10FFFF', bytes: utf8('<\u{10FFFF}>'), text: '<>', value: '<', bullets: full},
    // Malformed UTF-8.
    {name: 'a byte 0xFF', bytes: bytesOf('a\xFFb'), text: 'ab', value: 'a', bullets: full},
    {name: 'a stray continuation', bytes: bytesOf('a\x80b'), text: 'ab', value: 'a', bullets: full},
    {name: 'a cut sequence', bytes: bytesOf('ab\xC3'), text: 'ab', value: 'ab', bullets: full},
    {
        name: 'a cut long sequence', bytes: bytesOf('ab\xE4\xB8'), text: 'ab', value: 'ab',
        bullets: full
    },
    {
        name: 'a lead byte in front of a quote', bytes: bytesOf('a\xC3"b'), text: 'ab', value: 'a',
        bullets: full
    },
    {
        name: 'a lead byte in front of a tag', bytes: bytesOf('a\xE4\xB8<b>'), text: 'ab>',
        value: 'a', bullets: full
    },
    {name: 'an overlong NUL', bytes: bytesOf('a\xC0\x80b'), text: 'ab', value: 'a', bullets: full},
    // Overlong forms are accepted, and escaped.
    {
        name: 'an overlong tag', bytes: bytesOf('\xC0\xBCb\xC0\xBE'), text: '<b>', value: '<b>',
        bullets: 3
    },
    {
        name: 'an overlong quote', bytes: bytesOf('a\xE0\x80\xA2b'), text: 'a"b', value: 'a"b',
        bullets: 3
    },
    // A byte of 0xC0 and above counts as a continuation.
    {
        name: 'two lead bytes', bytes: bytesOf('a\xC3\xC3b'), text: 'a\u0103b', value: 'a\u0103b',
        bullets: 3
    },
    // Browsers replace references to surrogates, and take those to U+0080 to U+009F for other
    // characters.
    {
        name: 'surrogates', bytes: bytesOf('a\xED\xA0\xBD\xED\xB8\x80b'), text: 'a\uFFFD\uFFFDb',
        value: 'a\uFFFD\uFFFDb', bullets: 4
    },
    {
        name: 'U+0080 to U+009F', bytes: utf8('\u0080\u0081\u0085\u0099'), text: '€\u0081…™',
        value: '€\u0081…™', bullets: 4
    },
    {
        name: 'U+FFFE and U+FFFF', bytes: utf8('\uFFFE\uFFFF'), text: '\uFFFE\uFFFF',
        value: '\uFFFE\uFFFF', bullets: 2
    },
    // A control character ends an item.
    {name: 'a control character', bytes: utf8('a\x01<b>'), text: 'a', area: 'a\x01<b>', bullets: 1},
    {
        name: 'an escape sequence', bytes: utf8('a\x1B[1m"'), text: 'a', area: 'a\x1B[1m"',
        bullets: 1
    },
    {name: 'a tab', bytes: utf8('\t"a"'), text: '', area: '\t"a"', bullets: 0},
    {name: 'DEL', bytes: utf8('a\x7F&b'), text: 'a', area: 'a\x7F&b', bullets: 1},
    {name: 'a line feed', bytes: utf8('a\n<b>\n'), text: 'a', area: 'a\n<b>\n', bullets: 1},
    // Browsers turn every line end into a line feed, and drop one behind the opening tag.
    {name: 'CR LF', bytes: utf8('a\r\nb\rc'), text: 'a', area: 'a\nb\nc', bullets: 1},
    {
        name: 'a line feed in front', bytes: utf8('\n\n<b>'), text: '', area: '\n<b>',
        label: '\n\n<b>', bullets: 0
    }
];

const complete = ({value, area, label, ...row}) => ({
    ...row,
    value: value ?? row.text,
    area: area ?? value ?? row.text,
    label: label ?? area ?? row.text
});

export const printed = [
    ...whole.map((text) => complete(
        {name: JSON.stringify(text), bytes: utf8(text), text, bullets: text.length, valid: true})),
    ...special.map(complete)
];

// Texts that are typed: `stored` is what the items of text boxes then hold, and `area` the file of
// a text area. The rest is what is shown afterwards.
export const typed = [
    ...whole.map((text) => ({
        name: JSON.stringify(text), input: text, stored: text, area: utf8(text), shown: text,
        shownArea: text
    })),
    // A text area is cut behind the first byte of a character above U+FFFF.
    {
        name: 'an emoji', input: 'a\u{1F600}b', stored: 'ab', area: bytesOf('a\xF0'), shown: 'ab',
        shownArea: 'a'
    },
    {
        name: 'a control character', input: 'a\x01<b>', stored: 'a\x01<b>',
        area: utf8('a\x01<b>'), shown: 'a', shownArea: 'a\x01<b>'
    },
    {
        name: 'a byte order mark and blanks', input: '\uFEFF  "a"  ', stored: '\uFEFF  "a"  ',
        area: utf8('\uFEFF  "a"  '), shown: '\uFEFF  "a"  ', shownArea: '\uFEFF  "a"  '
    }
];
