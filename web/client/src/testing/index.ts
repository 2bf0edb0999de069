export { createFakeEmbed, presets } from "./fake_embed.js";
export type {
  AsyncScript, BlockingScript, FakeEmbed, FakeOptions, FakeRequest, Held,
} from "./fake_embed.js";
export type { AsyncOutcomes, BlockingOutcomes, Operation, Preset, Privilege } from "./data.js";
export type { Method, Path } from "./protocol.js";
export { RecordingDifference } from "./recording.js";
export type {
  AccountEntry, AccountFile, MappingEntry, Order, PopupEntry, StateFile, TermsEntry,
} from "./state_file.js";
