// Where the client's sources are: the folder that the command line gives, or src/.
import { fileURLToPath } from "node:url";

export const sources = process.argv[2] ?? fileURLToPath(new URL("src", import.meta.url));
