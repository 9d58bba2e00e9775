// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The service worker keeps the page for use offline: the page itself before it is in charge of it, and what
// scores need when the page asks for it.
const scope = self as unknown as ServiceWorkerGlobalScope;
const files = ['./', 'FILES']; // scripts/web writes the names of the page's files
const cacheName = 'VERSION'; // and their hash
const scoreFiles = ['documents.wasm', 'opensheetmusicdisplay.min.js'];

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

scope.addEventListener('message', (event) => {
    event.waitUntil((async () => {
        const cache = await caches.open(cacheName);
        for (const file of scoreFiles) if (!(await cache.match(file))) await cache.add(file);
    })());
});

scope.addEventListener('fetch', (event) => {
    if (event.request.method !== 'GET' || !event.request.url.startsWith(scope.registration.scope)) return;
    event.respondWith((async () => {
        const cache = await caches.open(cacheName);
        const stored = await cache.match(event.request, { ignoreSearch: true });
        if (stored) return stored;
        const response = await fetch(event.request);
        if (response.ok && scoreFiles.some((file) => event.request.url.endsWith(`/${file}`)))
            await cache.put(event.request, response.clone());
        return response;
    })());
});
