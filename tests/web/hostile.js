// Texts that must be shown as they are, whatever they look like to HTML, scripts, style, URLs, shells,
// templates and printf.
export const hostile = [
    '<script>alert(1)</script>',
    '"><script>alert(1)</script>',
    "'><script>alert(1)</script>",
    '<img src=x onerror=alert(1)>',
    '"><img src=x onerror=alert(1)>',
    '<svg onload=alert(1)>',
    '"><svg/onload=alert(1)//',
    '" autofocus onfocus="alert(1)',
    "' autofocus onfocus='alert(1)",
    '" style="position:fixed;inset:0" x="',
    '</title></head><body onload=alert(1)>',
    '--><script>alert(1)</script><!--',
    ']]><iframe src="javascript:alert(1)">',
    '</textarea><b>bold</b>',
    '<a href="javascript:alert(1)">x</a>',
    '&lt;script&gt;alert(1)&lt;/script&gt;',
    '&quot;&#34;&#x22; &amp;amp; &',
    '%3Cscript%3E %22 %s%n \\u003cb\\u003e \\',
    '<!--#exec cmd="ls"--> $(ls) `ls` {{7*7}}',
    '\u202E<b>\u00AB\u00E9\u20AC\uFFFD</b>\u2028;'
];
