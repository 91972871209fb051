// Serves folders on 127.0.0.1.
// usage: node serve.mjs FOLDER [PORT]: says at which address, and goes on until it is interrupted; where
// the port, 8000 unless told, is taken, the next free one is.

import { createServer } from 'node:http';
import { fileURLToPath } from 'node:url';
import sirv from 'sirv';

/**
 * Files of folders by the path that they appear under, such as { '/': 'build/web' }; other requests go to
 * `other(request, response)`. Port 0 is any free one. Resolves to { server, address }.
 */
export function serve(folders, port = 0, other = (request, response) => response.writeHead(404).end('not found')) {
  const handlers = Object.entries(folders).map(([path, folder]) => [path, sirv(folder, { dev: true })]);
  const server = createServer((request, response) => {
    const found = handlers.find(([path]) => request.url.startsWith(path));
    if (!found || request.method === 'POST') return other(request, response);
    const [path, files] = found;
    request.url = request.url.slice(path.length - 1);
    files(request, response, () => other(request, response));
  });
  return new Promise((resolve, reject) => {
    const listen = () => server.listen(port, '127.0.0.1');
    server.on('error', (error) => {
      if (error.code !== 'EADDRINUSE' || port >= 65535) return reject(error);
      ++port;
      listen();
    });
    server.on('listening', () => resolve({ server, address: `http://127.0.0.1:${server.address().port}` }));
    listen();
  });
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [folder, text = '8000'] = process.argv.slice(2);
  const wanted = Number(text);
  if (!folder || !Number.isInteger(wanted) || wanted < 1 || wanted > 65535) {
    console.error('usage: node serve.mjs FOLDER [PORT], a port from 1 to 65535');
    process.exit(2);
  }
  const { address } = await serve({ '/': folder }, wanted);
  if (!address.endsWith(`:${wanted}`)) console.log(`Port ${wanted} is taken.`);
  console.log(`The page is at ${address}/ until you press Ctrl+C.`);
}
