// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The service worker keeps the page for use offline; what scores need, once the page requests that or uses it.
const scope = self as unknown as ServiceWorkerGlobalScope;
const files = ['./', 'FILES']; // scripts/web writes the names of the page's files
const cacheName = 'VERSION'; // and their hash
const scoreFiles = ['documents.wasm', 'opensheetmusicdisplay.min.js'];

async function install(): Promise<void> {
    const cache = await caches.open(cacheName);
    await cache.addAll(files.map((file) => new Request(file, { cache: 'no-cache' })));
    await scope.skipWaiting();
}

async function activate(): Promise<void> {
    for (const name of await caches.keys()) if (name !== cacheName) await caches.delete(name);
    await scope.clients.claim();
}

async function respond(request: Request): Promise<Response> {
    const cache = await caches.open(cacheName);
    const stored = await cache.match(request, { ignoreSearch: true });
    if (stored) return stored;
    const response = await fetch(request);
    if (response.ok && scoreFiles.some((file) => request.url.endsWith(`/${file}`)))
        await cache.put(request, response.clone());
    return response;
}

scope.addEventListener('install', (event) => event.waitUntil(install()));
scope.addEventListener('activate', (event) => event.waitUntil(activate()));
scope.addEventListener('message', (event) =>
    event.waitUntil(Promise.all(scoreFiles.map((file) => respond(new Request(file))))));
scope.addEventListener('fetch', (event) => {
    const { method, url } = event.request;
    if (method === 'GET' && url.startsWith(scope.registration.scope)) event.respondWith(respond(event.request));
});
