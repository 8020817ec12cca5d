// Checks a page with html-validate. Exactly the messages that are accepted here must come: another
// one, or one of them that is missing, is a problem.
//
// What the library prints on purpose:
//  - The frame of a page prints "<html>" without attributes, so that it has no language; the page
//    gives it to its body.
//  - PRINT_AUTOCOMPLETE_DEFAULT prints autocomplete="default", which is no value of HTML.
//  - PRINT_DISPLAY_NONE and PRINT_HIDDEN print inline styles: these two properties are allowed, and
//    only these.
// The frame prints no document type either. The page prints one itself, so that nothing has to be
// accepted for it. That maxlength can be longer than every value of its box (18 for a MAC address)
// and shorter than its size is no message.
import {HtmlValidate} from 'html-validate';

const accepted = [
    'html element-required-attributes: <html> is missing required "lang" attribute',
    '#text_autocomplete_default valid-autocomplete: ' +
        '"default" is not a valid autocomplete token or field name'
];

const validator = new HtmlValidate({
    root: true,
    extends: ['html-validate:recommended'],
    rules: {'no-inline-style': ['error', {allowedProperties: ['display', 'visibility']}]}
});

export async function problemsOf(html) {
    const report = await validator.validateString(html);
    const found = report.results.flatMap((result) => result.messages).map((message) =>
        ({text: `${message.selector} ${message.ruleId}: ${message.message}`, line: message.line}));
    const texts = found.map(({text}) => text);
    return [
        ...found.filter(({text}) => !accepted.includes(text))
            .map(({text, line}) => `line ${line}: ${text}`),
        ...accepted.filter((text) => !texts.includes(text)).map((text) => `missing: ${text}`)
    ];
}
