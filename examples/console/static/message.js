// Counts the characters of the text message while it is typed: the device knows its alphabet.
'use strict';

let timer;

document.addEventListener('input', ({target}) => {
    if (target.id !== 'alert_text')
        return;
    clearTimeout(timer);
    timer = setTimeout(() => count(target), 200);
});

async function count(box) {
    const text = box.value;
    const place = document.getElementById('count');
    try {
        const answer = await fetch(`count.cgi?${new URLSearchParams({text})}`);
        const {count, limit, foreign} = await answer.json();
        if (text === box.value)
            place.textContent = `${count} of ${limit} characters` +
                (foreign ? `; ${foreign} cannot be sent` : '');
    } catch {
        place.textContent = 'The device does not answer.';
    }
}
