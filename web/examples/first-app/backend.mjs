// The application's backend: `node backend.mjs PORT`. Tells who a token belongs to, to pages of any
// origin.
import { createServer } from "node:http";

const names = { "Bearer access-token-of-demo-client": "Sasha" };

createServer((request, response) => {
  response.setHeader("Access-Control-Allow-Origin", "*");
  response.setHeader("Access-Control-Allow-Headers", "Authorization");
  if (request.method === "OPTIONS") return response.writeHead(204).end();
  const name = names[request.headers.authorization];
  if (request.url !== "/profile" || !name) return response.writeHead(name ? 404 : 401).end();
  response.setHeader("Content-Type", "application/json");
  response.end(JSON.stringify({ name }));
}).listen(Number(process.argv[2]), "127.0.0.1", () => console.log("listening"));
