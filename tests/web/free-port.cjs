// Prints the number of a port of the loopback address that is free.
'use strict';
const server = require('net').createServer();
server.listen(0, '127.0.0.1', () => {
    console.log(server.address().port);
    server.close();
});
