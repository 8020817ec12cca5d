// Sends a form with a file in the background and shows how far it is; the page that answers is then
// shown in place of this one. Without this script the browser sends the form itself.
'use strict';

document.addEventListener('submit', (event) => {
    if ('upload' in event.target.dataset) {
        event.preventDefault();
        upload(event.target);
    }
});

function upload(form) {
    const request = new XMLHttpRequest();
    const progress = makeProgress(() => request.abort());
    const submit = form.querySelector('button[type="submit"]');
    const end = (text) => {
        progress.remove();
        submit.disabled = false;
        showMessage(text);
    };
    request.upload.onprogress = ({loaded, total}) => showProgress(progress, loaded / total);
    // All is sent: from now on the device may store it.
    request.upload.onload = () => { progress.querySelector('button').disabled = true; };
    request.onload = () => showAnswer(request, end);
    request.onerror = () => end('The upload was broken off: the device did not answer.');
    request.onabort = () => end('The upload was cancelled.');
    request.open('POST', form.action);
    request.responseType = 'document';
    request.send(new FormData(form));
    submit.disabled = true;
    submit.before(progress);
}

function makeProgress(cancel) {
    const progress = document.createElement('div');
    const bar = document.createElement('progress');
    const button = document.createElement('button');
    progress.className = 'progress';
    bar.max = 100;
    bar.value = 0;
    bar.setAttribute('aria-label', 'Upload');
    button.type = 'button';
    button.textContent = 'Cancel';
    button.addEventListener('click', cancel);
    progress.append(bar, document.createElement('span'), button);
    return progress;
}

function showProgress(progress, part) {
    const percent = Math.floor(100 * part);
    progress.querySelector('progress').value = percent;
    progress.querySelector('span').textContent = `${percent} %`;
}

// Takes over what the answering page has between its navigation and its end. The place of the
// messages stays, so that they are announced.
function showAnswer(request, end) {
    const main = document.querySelector('main');
    const answer = request.responseXML?.querySelector('main#main');
    if (!answer)
        return end(`The device refused the upload (${request.status}).`);
    const messages = [...answer.querySelectorAll('#messages > *')];
    const place = document.getElementById('messages');
    answer.querySelector('#messages').remove();
    main.replaceChildren(place, ...answer.children);
    main.prepend(main.querySelector('h1'));
    place.replaceChildren(...messages);
    place.scrollIntoView({block: 'nearest'});
    focusRefusal();
}

function showMessage(text) {
    const message = document.createElement('p');
    message.className = 'bad';
    message.textContent = text;
    document.getElementById('messages').replaceChildren(message);
}
