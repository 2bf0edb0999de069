import { PopupState, SSOError, type SSOClient } from "sso-client";

/** Who uses the application, and the token that its backend accepts. */
export interface Session {
  uid: string;
  token: string;
}

/** Signs in, with the login page where nobody is. @return null when the user did not. */
export async function signIn(sso: SSOClient, client: { id: string; secret: string }): Promise<Session | null> {
  if ((await sso.getLoginStatus()) !== 1) {
    const { state } = await sso.showLoginPage({ data: "login" });
    if (state !== PopupState.done) return null;
  }
  return { uid: await sso.getLoginUid(), token: await sso.getAccessToken(client) };
}

/** What to tell the user. */
export function explain(error: unknown): string {
  if (!(error instanceof SSOError)) return "Something went wrong.";
  return error.retryable ? "The account cannot be reached now. Try again." : `Not signed in: ${error.code}.`;
}
