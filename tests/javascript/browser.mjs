// Debian's Chromium, and a server of this machine alone for what a page imports.
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { extname, join, normalize } from "node:path";

import { tree } from "./built.mjs";

const { chromium } = createRequire(join(tree, "bindings/javascript/package.json"))("playwright-core");
const kinds = { ".html": "text/html", ".js": "text/javascript", ".mjs": "text/javascript" };

export function launch() {
  return chromium.launch({
    executablePath: process.env.VXM_CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox"],
  });
}

/** Serves the tree's files; what does not exist is an empty page. */
export async function serve() {
  const server = createServer(async (request, response) => {
    const path = normalize(new URL(request.url, "http://host").pathname);
    const body = await readFile(join(tree, path)).catch(() => "<!doctype html>");
    response.writeHead(200, { "content-type": kinds[extname(path)] ?? "text/html" }).end(body);
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  return { origin: `http://127.0.0.1:${server.address().port}`, close: () => server.close() };
}
