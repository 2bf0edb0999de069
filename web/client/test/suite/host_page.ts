// sso-host as a page: each element is a process of its own, behind a thread that goes on while the page blocks.
import { MessageChannel, Worker, receiveMessageOnPort } from "node:worker_threads";
import type { Embed, EmbedMessage } from "sso-client";
import type { Page } from "./suite.js";

const kPatience = 10_000;

class HostEmbed implements Embed {
  private readonly replies = new MessageChannel();
  private readonly replied = new Int32Array(new SharedArrayBuffer(4));
  private readonly listeners = new Set<(message: EmbedMessage) => void>();
  private readonly worker: Worker;
  private readonly exit: Promise<unknown>;

  constructor(host: string, options: string[]) {
    const { port1: replies } = this.replies;
    this.worker = new Worker(new URL("host_worker.mjs", import.meta.url), {
      workerData: { host, options, replies, replied: this.replied.buffer },
      transferList: [replies],
    });
    this.exit = new Promise(resolve =>
      this.worker.on("message", ({ message, exit }) => {
        if (exit !== undefined) resolve(exit);
        else for (const listener of this.listeners) listener({ data: message });
      }),
    );
  }

  addEventListener(_: "message", listener: (message: EmbedMessage) => void): void {
    this.listeners.add(listener);
  }
  removeEventListener(_: "message", listener: (message: EmbedMessage) => void): void {
    this.listeners.delete(listener);
  }
  postMessage(request: object): void {
    this.worker.postMessage({ post: request });
  }
  postMessageAndAwaitResponse(request: object): unknown {
    Atomics.store(this.replied, 0, 0);
    this.worker.postMessage({ call: request });
    if (Atomics.wait(this.replied, 0, 0, kPatience) === "timed-out") throw new Error("sso-host does not reply");
    return receiveMessageOnPort(this.replies.port2)!.message.reply;
  }

  /** Ends the process. @return its exit code. */
  async close(): Promise<unknown> {
    this.worker.postMessage(null);
    const code = await this.exit;
    this.replies.port2.close();
    await this.worker.terminate();
    return code;
  }
}

/** A page in front of sso-host. close() throws when one of its processes saw something wrong. */
export function openHost(host: string, options: string[]): Page & { close(): Promise<void> } {
  const embeds: HostEmbed[] = [];
  return {
    embed() {
      embeds.push(new HostEmbed(host, options));
      return embeds.at(-1)!;
    },
    async close() {
      const codes = await Promise.all(embeds.map(embed => embed.close()));
      if (codes.some(code => code !== 0)) throw new Error(`sso-host ends with ${codes}`);
    },
  };
}
