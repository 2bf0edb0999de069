import protocol from "../../../protocol/protocol.json";

/** The request of a command with a value for each of its keys. */
function exampleOf(command) {
  const message = { command: command.name };
  for (const key of command.keys) message[key.name] = key.example;
  return message;
}

/** The commands of the protocol, in its order, each with a ready message. */
export const commands = protocol.commands.map(command => ({ ...command, message: exampleOf(command) }));
