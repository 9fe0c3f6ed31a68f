// Requests to the server, and whether it is there.

export class Refusal extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

async function checked(response) {
  if (response.ok) return response;
  let text = `the server answered ${response.status}`;
  try {
    const body = await response.text();
    text = body.startsWith('{') ? JSON.parse(body).error : body;
  } catch {
    // The status says enough.
  }
  throw new Refusal(response.status, text);
}

export async function read(path, signal) {
  return checked(await fetch(path, { signal, credentials: 'same-origin', cache: 'no-store' }));
}

export async function readJson(path) {
  return (await read(path)).json();
}

export async function send(command) {
  const response = await fetch('/command', {
    method: 'POST',
    credentials: 'same-origin',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(command),
  });
  return (await checked(response)).json();
}

export const pause = (ms) => new Promise((done) => setTimeout(done, ms));
