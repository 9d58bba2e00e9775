// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The service worker keeps the page for use offline; what scores need, once one was wanted.
const scope = self as unknown as ServiceWorkerGlobalScope;
const files = ['./', 'FILES']; // scripts/web writes the names of the page's files
const cacheName = 'VERSION'; // and their hash

scope.addEventListener('install', (event) => {
    event.waitUntil((async () => {
        const cache = await caches.open(cacheName);
        await cache.addAll(files.map((file) => new Request(file, { cache: 'no-cache' })));
        await scope.skipWaiting();
    })());
});

scope.addEventListener('activate', (event) => {
    event.waitUntil((async () => {
        for (const name of await caches.keys()) if (name !== cacheName) await caches.delete(name);
        await scope.clients.claim();
    })());
});

scope.addEventListener('fetch', (event) => {
    if (event.request.method !== 'GET' || !event.request.url.startsWith(scope.registration.scope)) return;
    event.respondWith((async () => {
        const cache = await caches.open(cacheName);
        const stored = await cache.match(event.request, { ignoreSearch: true });
        if (stored) return stored;
        const response = await fetch(event.request);
        const wanted = response.ok && /\.(wasm|min\.js)$/.test(event.request.url);
        if (wanted) await cache.put(event.request, response.clone());
        return response;
    })());
});
