import type { Operation } from "./data.js";
import { Result } from "./account.js";
import type { Order, StateFile } from "./state_file.js";

/** What somebody has ordered for the operations that come. */
export class Orders {
  readonly #orders: Map<string, Order>;

  constructor(orders: StateFile["orders"] = {}) {
    this.#orders = new Map(Object.entries(orders).map(([name, order]) => [name, { ...order }]));
  }

  of(operation: Operation): Readonly<Order> {
    return this.#orders.get(operation) ?? {};
  }

  /** The result with which an operation must fail now; counts it.
   *  @param atStart  whether it is about its start, or about its end. */
  takeFailure(operation: Operation, atStart: boolean): number | undefined {
    const order = this.#orders.get(operation);
    if (order?.failure === undefined || (order.failure === Result.NotStarted) !== atStart) return undefined;
    const { failure } = order;
    if (order.times && --order.times === 0) delete order.failure;
    return failure;
  }
}
