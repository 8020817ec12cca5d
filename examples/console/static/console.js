// What every page has: the current page is brought into view in the strip of a narrow screen, and
// a refused form puts the cursor into the first field that needs another look.
'use strict';

function focusRefusal() {
    document.querySelector('.refused :is(input, select, textarea)')?.focus();
}

document.querySelector('nav a[aria-current]')?.scrollIntoView({block: 'nearest', inline: 'center'});
focusRefusal();
