"""A python-dbusmock template that answers as the account service does, from the same description of its
interfaces: whoever is behind the client library, its tests may see no difference."""
import json
import os
import xml.etree.ElementTree as ElementTree

import dbus
import dbus.service
from gi.repository import GLib

BUS_NAME = "example.korvane.SSO1"
MAIN_OBJ = "/example/korvane/SSO1/test"
MAIN_IFACE = BUS_NAME + ".Account"
SYSTEM_BUS = False

OK, NO_ACCOUNT, CANCELLED, INVALID, UNKNOWN, DUPLICATE, UNAVAILABLE = 0, -2, -3, -4, -5, -6, -7
COMPLETED, CLOSED, FAILED, TAKEN_AWAY = range(4)
STATES = {"completed": COMPLETED, "closed": CLOSED, "failed": FAILED}
EMPTY = {"i": dbus.Int32(0), "s": ""}


class Account:
    """What an account file says, and what becomes of it."""

    def __init__(self, text="{}"):
        self.told = json.loads(text)
        self.signed_in = self.told.get("signedIn", False)
        self.mappings = [
            (one["appID"], one["cpName"], one["cpUID"]) for one in self.told.get("mappings", [])
        ]

    def unavailable(self, function):
        return function in self.told.get("unavailable", [])

    def is_agreed(self, terms_id):
        document = self.told["terms"][terms_id]
        return document.get("agreedVersion") == document["version"]

    def popup(self, kind):
        told = self.told.get("popups", {}).get(kind, {"state": "failed", "delayMs": 0})
        return told["delayMs"], STATES[told["state"]]


def popup_answer(state):
    return {FAILED: UNAVAILABLE, TAKEN_AWAY: CANCELLED}.get(state, OK), state


class Calls:
    """Those that have not been answered."""

    def __init__(self):
        self.waiting = {}
        self.next = 0

    def later(self, delay, sender, work, ok, cancelled):
        self.next += 1
        key = self.next
        if delay == 0:
            ok(work())
            return
        source = GLib.timeout_add(delay, self.end, key)
        self.waiting[key] = (sender, work, ok, source, cancelled)

    def end(self, key):
        _, work, ok, _, _ = self.waiting.pop(key)
        ok(work())
        return False

    def cancel(self, sender):
        for key in [key for key, call in self.waiting.items() if call[0] == sender]:
            _, _, ok, source, cancelled = self.waiting.pop(key)
            GLib.source_remove(source)
            ok(cancelled)


account = Account()
calls = Calls()


def show_login(_agent, page):
    delay, state = account.popup("login" if page else "createAccount")

    def end():
        if state == COMPLETED and "account" not in account.told:
            return popup_answer(FAILED)
        account.signed_in = account.signed_in or state == COMPLETED
        return popup_answer(state)

    return delay, end


def show_terms(_agent, terms_id, _caller):
    delay, state = account.popup("terms")

    def end():
        if state == COMPLETED and account.signed_in and terms_id in account.told.get("terms", {}):
            document = account.told["terms"][terms_id]
            document["agreedVersion"] = document["version"]
        return popup_answer(state)

    return delay, end


def request_access_token(client_id, secret):
    for client in account.told.get("clients", []):
        if client["id"] == client_id and client["secret"] == secret:
            return OK, client["token"]
    return (UNKNOWN,)


def list_mappings(app_id, cp_name):
    listed = [
        {"appID": app, "cpName": name, "cpUID": user}
        for app, name, user in account.mappings
        if app == app_id and cp_name in ("", name)
    ]
    return OK, json.dumps(listed, separators=(",", ":"), ensure_ascii=False)


def add_mapping(*mapping):
    if not all(mapping):
        return (INVALID,)
    if mapping in account.mappings:
        return (DUPLICATE,)
    account.mappings.append(mapping)
    return (OK,)


def remove_mapping(app_id, cp_name, cp_uid):
    left = [
        one
        for one in account.mappings
        if one[:2] != (app_id, cp_name) or cp_uid not in ("", one[2])
    ]
    removed = len(left) != len(account.mappings)
    account.mappings[:] = left
    return (OK if removed else UNKNOWN,)


def identity(*members):
    return lambda: (OK, *(account.told["account"][member] for member in members))


def get_term_state(terms_id):
    if terms_id not in account.told.get("terms", {}):
        return (UNKNOWN,)
    return OK, int(account.is_agreed(terms_id))


POPUPS = {"ShowLogin": show_login, "ShowTerms": show_terms}
REQUESTS = {
    "RequestAccessToken": request_access_token,
    "ListMappings": list_mappings,
    "AddMapping": add_mapping,
    "RemoveMapping": remove_mapping,
}
QUERIES = {
    "GetTermState": ("sso_get_term_state", get_term_state),
    "GetLoginInfo": ("sso_get_login_info", identity("loginId", "uid")),
    "GetGuid": ("sso_get_guid", identity("guid")),
    "GetAuthToken": ("sso_get_auth_token", identity("authToken")),
}


def for_user(work):
    """What needs somebody who is signed in."""
    return lambda *texts: work(*texts) if account.signed_in else (NO_ACCOUNT,)


def answer(name, out, sender, texts, ok, error):
    """Answers a call of the interface Account."""

    def give(values):
        values = [*values, *(EMPTY[one] for one in out[len(values) :])]
        ok(*(dbus.Int32(one) if isinstance(one, int) else one for one in values))

    if name == "CanStart":
        if account.unavailable(texts[0]):
            error(dbus.exceptions.DBusException("no", name=BUS_NAME + ".Error.NotStarted"))
        else:
            ok()
    elif name == "CancelAll":
        calls.cancel(sender)
        ok()
    elif name in POPUPS:
        delay, end = POPUPS[name](*texts)
        calls.later(delay, sender, end, give, popup_answer(TAKEN_AWAY))
    elif name in REQUESTS:
        work = for_user(REQUESTS[name])
        delay = account.told.get("requestDelayMs", 0)
        calls.later(delay, sender, lambda: work(*texts), give, (CANCELLED,))
    elif name == "GetLoginState":
        if account.unavailable("sso_get_login_state"):
            give((UNAVAILABLE,))
        else:
            give((OK, int(account.signed_in)))
    else:
        function, work = QUERIES[name]
        give((UNAVAILABLE,) if account.unavailable(function) else for_user(work)(*texts))


def signature(member, direction):
    return "".join(one.get("type") for one in member.findall("arg") if one.get("direction") == direction)


def make_method(interface, member):
    """A method as the description has it."""
    name, out = member.get("name"), signature(member, "out")
    names = ", ".join(one.get("name") for one in member.findall("arg") if one.get("direction") == "in")
    comma = ", " if names else ""
    scope = {"answer": answer, "out": out, "name": name}
    exec(  # dbus-python takes a method's parameters from its definition
        f"def {name}(self{comma}{names}, ok=None, error=None, sender=None):\n"
        f"    answer(name, out, sender, tuple(str(one) for one in ({names}{',' if names else ''})), ok, error)\n",
        scope,
    )
    return dbus.service.method(
        interface,
        in_signature=signature(member, "in"),
        out_signature=out,
        async_callbacks=("ok", "error"),
        sender_keyword="sender",
    )(scope[name])


@dbus.service.method(BUS_NAME + ".Control", in_signature="ass", out_signature="iss")
def Run(_self, words, text):
    """The one verb that the client library's control needs."""
    global account
    if list(words) != ["state", "load"]:
        return dbus.Int32(2), "", "the mock has no such verb"
    account = Account(text)
    return dbus.Int32(0), "{}", ""


def load(_mock, _parameters):
    """Nothing: the methods are there."""


for _interface in ElementTree.parse(os.environ["SSO_TEST_BUS_XML"]).getroot().findall("interface"):
    if _interface.get("name") == MAIN_IFACE:
        for _member in _interface.findall("method"):
            globals()[_member.get("name")] = make_method(MAIN_IFACE, _member)
