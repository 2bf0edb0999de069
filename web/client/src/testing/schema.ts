/** The words of JSON schema that the schema of account files uses. */
export interface Schema {
  readonly $ref?: string;
  readonly definitions?: Readonly<Record<string, Schema>>;
  readonly allOf?: readonly Schema[];
  readonly anyOf?: readonly Schema[];
  readonly oneOf?: readonly Schema[];
  readonly not?: Schema;
  readonly enum?: readonly unknown[];
  readonly type?: string;
  readonly required?: readonly string[];
  readonly properties?: Readonly<Record<string, Schema>>;
  readonly additionalProperties?: boolean | Schema;
  readonly propertyNames?: Schema;
  readonly items?: Schema;
  readonly uniqueItems?: boolean;
  readonly pattern?: string;
  readonly minLength?: number;
  readonly maxLength?: number;
  readonly minimum?: number;
  readonly maximum?: number;
}

/** What is wrong, and where. */
export interface Mistake {
  readonly place: readonly (string | number)[];
  readonly what: string;
}

type Place = Mistake["place"];
type Members = Readonly<Record<string, unknown>>;

function typeOf(value: unknown): string {
  if (value === null) return "null";
  if (Array.isArray(value)) return "array";
  return Number.isInteger(value) ? "integer" : typeof value;
}

const kNouns: Readonly<Record<string, string>> = {
  object: "an object", array: "an array", string: "a text", integer: "a whole number", boolean: "true or false",
};

const listed = (values: readonly unknown[]): string => values.map(value => JSON.stringify(value)).join(" or ");

/** @param value  of JSON.
 *  @return the first mistake in it; undefined when it is as the schema says. */
export function findMistake(value: unknown, schema: Schema, root = schema, place: Place = []): Mistake | undefined {
  const wrong = (what: string): Mistake => ({ place, what });
  const within = (part: unknown, of: Schema, ...step: Place): Mistake | undefined =>
    findMistake(part, of, root, [...place, ...step]);
  const first = <Item>(items: readonly Item[], find: (item: Item, at: number) => Mistake | undefined) => {
    for (const [at, item] of items.entries()) {
      const mistake = find(item, at);
      if (mistake) return mistake;
    }
    return undefined;
  };

  function inObject(members: Members): Mistake | undefined {
    const names = Object.keys(members);
    const { properties = {}, additionalProperties: others = true } = schema;
    return (
      first(schema.required ?? [], name =>
        names.includes(name) ? undefined : wrong(`lacks ${JSON.stringify(name)}`),
      ) ??
      first(names, name => {
        if (Object.keys(properties).includes(name)) return within(members[name], properties[name]!, name);
        if (others === false) return wrong(`has ${JSON.stringify(name)}, which is none of its members`);
        const misnamed = schema.propertyNames && within(name, schema.propertyNames, name);
        return misnamed ?? (others === true ? undefined : within(members[name], others, name));
      })
    );
  }

  function inArray(items: readonly unknown[]): Mistake | undefined {
    const texts = items.map(item => JSON.stringify(item, Object.keys(Object(item)).sort()));
    return first(items, (item, at) => {
      const isThere = schema.uniqueItems && texts.indexOf(texts[at]!) < at;
      if (isThere) return { place: [...place, at], what: "is there twice" };
      return schema.items && within(item, schema.items, at);
    });
  }

  function inValue(): Mistake | undefined {
    if (schema.enum && !schema.enum.includes(value)) return wrong(`must be ${listed(schema.enum)}`);
    if (schema.type && typeOf(value) !== schema.type) return wrong(`must be ${kNouns[schema.type]}`);
    if (typeof value === "string") {
      if (value.length < (schema.minLength ?? 0)) return wrong("must not be empty");
      const bytes = new TextEncoder().encode(value).length;
      if (bytes > (schema.maxLength ?? Infinity)) return wrong(`must not be longer than ${schema.maxLength} bytes`);
      if (schema.pattern && !new RegExp(schema.pattern, "u").test(value)) return wrong(`must match ${schema.pattern}`);
    }
    if (typeof value === "number") {
      const { minimum = -Infinity, maximum = Infinity } = schema;
      if (value < minimum || value > maximum) return wrong(`must be from ${minimum} to ${maximum}`);
    }
    if (typeOf(value) === "array") return inArray(value as unknown[]);
    return typeOf(value) === "object" ? inObject(value as Members) : undefined;
  }

  /** One of several has to fit. What is told is what is wrong with the one that fits best. */
  function inChoice(choices: readonly Schema[] = []): Mistake | undefined {
    const mistakes = choices.map(choice => within(value, choice));
    if (mistakes.includes(undefined)) return undefined;
    return mistakes.reduce((best, other) => (other!.place.length > best!.place.length ? other : best), mistakes[0]);
  }

  const referred = schema.$ref?.split("/").slice(1)
    .reduce((node, step) => node[step] as Members, root as unknown as Members) as Schema | undefined;
  return (
    (referred && within(value, referred)) ??
    inValue() ??
    first(schema.allOf ?? [], all => within(value, all)) ??
    inChoice(schema.anyOf) ??
    inChoice(schema.oneOf) ??
    (schema.not && typeof value === "string" && !within(value, schema.not) ? wrong("must not hold a NUL") : undefined)
  );
}

/** "clients[0].secret" */
export const placeText = (place: Place): string =>
  place.map(step => (typeof step === "number" ? `[${step}]` : `.${step}`)).join("").replace(/^\./, "");
