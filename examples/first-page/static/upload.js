// Sends the upload form in the background and shows how far it is. Without this script the browser
// sends the form itself, and the same page answers.
'use strict';

const form = document.getElementById('upload');
const submit = form.querySelector('button[type="submit"]');
const progress = document.getElementById('progress');
const bar = progress.querySelector('progress');
const percent = progress.querySelector('output');

form.addEventListener('submit', (event) => {
    event.preventDefault();
    const request = new XMLHttpRequest();
    request.upload.onprogress = ({loaded, total}) => showProgress(loaded / total);
    request.onload = () => showAnswer(request);
    request.onerror = () => showMessage('bad', 'The device did not answer.');
    request.onabort = () => showMessage('same', 'The upload was cancelled.');
    request.onloadend = () => showRunning(false);
    progress.querySelector('button').onclick = () => request.abort();
    request.open('POST', form.action);
    request.responseType = 'document';
    request.send(new FormData(form));
    showProgress(0);
    showRunning(true);
});

function showRunning(running) {
    progress.hidden = !running;
    submit.disabled = running;
}

function showProgress(part) {
    bar.value = Math.floor(100 * part);
    percent.textContent = `${bar.value} %`;
}

// Takes the messages out of the page that answers; what is typed elsewhere stays.
function showAnswer(request) {
    const answer = request.responseXML?.getElementById('messages');
    if (request.status !== 200 || !answer)
        return showMessage('bad', `The device refused the upload (${request.status}).`);
    form.reset();
    showMessages(answer.children);
}

function showMessage(kind, text) {
    const message = document.createElement('p');
    message.className = kind;
    message.textContent = text;
    showMessages([message]);
}

function showMessages(messages) {
    const place = document.getElementById('messages');
    place.replaceChildren(...messages);
    place.scrollIntoView({block: 'nearest'});
}
