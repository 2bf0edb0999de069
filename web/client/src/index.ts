export { SSOClient, type SSOEvents } from "./client.js";
export type { Methods } from "./commands.js";
export type { Embed, EmbedMessage } from "./embed.js";
export { SSOError, type SSOErrorCode } from "./error.js";
export type { CallOptions, ClientOptions, CreateOptions, Signal } from "./options.js";
export { ChangeResult, PopupState, type Mapping, type Mappings } from "./outcome.js";
