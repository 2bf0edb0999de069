// The suite in a page of the real browser.
import { cases, runCase } from "./suite.js";

/** @return what failed, by case, and how many cases there are. */
export async function run(): Promise<{ cases: number; failed: Record<string, string> }> {
  const embed = (): never => {
    const element = document.createElement("embed");
    element.type = "application/x-sso-plugin";
    element.width = element.height = "1";
    document.body.append(element);
    return element as never;
  };
  const failed: Record<string, string> = {};
  for (const [name, test] of Object.entries(cases)) {
    await runCase(test, { embed }).catch(error => (failed[name] = String(error)));
  }
  return { cases: Object.keys(cases).length, failed };
}
