// SPDX-License-Identifier: Apache-2.0
// Finds options and module names as they are typed, and works in pages that were opened as files. Browsers let such a
// page neither fetch the index nor start a worker: the index comes as a script, and the worker's script runs in a hidden
// frame, which inherits the page's origin.
var __search = {
  // Hyphens before a word, colons and the like are operators of the search's own language: --plain, mwc4a:0/2.
  transform: query => query.replace(/(^|\s)[-+]+(?=\S)/g, "$1").replace(/["*+:^~/]/g, " ").trim()
};

if (location.protocol === "file:") {
  const indexScript = document.currentScript.dataset.index;

  const loadScript = (owner, address) => new Promise((resolve, reject) => {
    const script = owner.createElement("script");
    script.onload = resolve;
    script.onerror = reject;
    script.src = address;
    owner.head.appendChild(script);
  });

  const pageReady = new Promise(resolve => document.addEventListener("DOMContentLoaded", resolve));

  __search.index = loadScript(document, new URL(indexScript, location).href).then(() => window.searchIndexOfManual);

  window.Worker = class extends EventTarget {
    constructor(address) {
      super();
      this.started = pageReady.then(() => this.start(new URL(address, location).href));
    }

    async start(address) {
      const frame = document.createElement("iframe");
      frame.hidden = true;
      document.body.appendChild(frame);
      this.scope = frame.contentWindow;
      this.scope.postMessage = data => this.dispatchEvent(new MessageEvent("message", {data}));
      await loadScript(this.scope.document, address);
    }

    postMessage(data) {
      this.started.then(() => this.scope.dispatchEvent(new MessageEvent("message", {data})));
    }
  };
}
