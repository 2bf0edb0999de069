declare function setImmediate(act: () => void): unknown;
const breathe = setImmediate;

/** Lets all run that promises still have to do. */
export const flush = (): Promise<void> => new Promise(done => void breathe(done));

/** Time that stands still until it is moved. Takes the place of the timers and of Date.now(); unlike the fake timers of
 *  the test runner it needs no real time of its own, so that many thousand sequences can be run. */
export class SimulatedClock {
  now = 1e6;
  #last = 0;
  readonly #real = { setTimeout, clearTimeout, now: Date.now };
  readonly #timers = new Map<number, { at: number; act: (...what: unknown[]) => void; what: unknown[] }>();

  constructor() {
    // By hand: the test runner keeps a record of all that it replaces, which grows with each sequence.
    Object.assign(globalThis, {
      setTimeout: (act: () => void, time = 0, ...what: unknown[]) => {
        // As browsers and node do it: what is too long is over at once.
        const counted = time > 2147483647 ? 1 : Math.max(1, time);
        this.#timers.set(++this.#last, { at: this.now + counted, act, what });
        return this.#last;
      },
      clearTimeout: (timer: number) => void this.#timers.delete(timer),
    });
    Date.now = () => this.now;
  }

  get timers(): number {
    return this.#timers.size;
  }

  /** Gives the real time back. */
  end(): void {
    const { now, ...timers } = this.#real;
    Object.assign(globalThis, timers);
    Date.now = now;
  }

  /** Moves on, from timer to timer; after each, all that follows from it happens before the next. */
  async move(time: number): Promise<void> {
    const end = this.now + time;
    for (;;) {
      let next: number | undefined;
      for (const [id, { at }] of this.#timers) {
        if (at <= end && (next === undefined || at < this.#timers.get(next)!.at)) next = id;
      }
      if (next === undefined) break;
      const { at, act, what } = this.#timers.get(next)!;
      this.#timers.delete(next);
      this.now = at;
      act(...what);
      await flush();
    }
    this.now = end;
  }
}
