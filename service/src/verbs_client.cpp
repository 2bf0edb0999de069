// Verbs about the clients that ask for access tokens, and their tokens.

#include "random_id.h"
#include "verb_input.h"
#include "verb_tree.h"

namespace service::client_verbs {
namespace {

using account::Description;

struct Id {
    std::string id;
};

struct NewClient {
    std::string id;
    bool hasSecret = false;
    std::string lifetime;
};

Json asJson(const std::string& id, const account::Client& client) {
    Json json = {{"id", id}, {"secret", client.secret}, {"token", client.token}};
    json["lifetimeSeconds"] = client.lifetime ? Json(*client.lifetime / 1000) : Json();
    return json;
}

Json list(VerbRun& run) {
    Json all = Json::array();
    for (const auto& [id, client] : run.state.account().description().clients) {
        all.push_back(asJson(id, client));
    }
    return all;
}

Json add(VerbRun& run, const NewClient& wanted) {
    if (run.state.account().description().clients.count(wanted.id) != 0) {
        throw Refused("there is a client " + wanted.id + " already");
    }
    account::Client client;
    client.secret = wanted.hasSecret ? passwordFrom(run.input) : randomId("secret-");
    client.token = "access-token-of-" + wanted.id;
    if (!wanted.lifetime.empty()) client.lifetime = durationFrom(wanted.lifetime, "s").count();
    run.state.administer(
        "clients", [&](Description& description) { description.clients[wanted.id] = client; });
    return asJson(wanted.id, client);
}

Json remove(VerbRun& run, const Id& which) {
    if (run.state.account().description().clients.count(which.id) == 0) {
        throw Refused("there is no client " + which.id);
    }
    run.state.administer("clients", [&](Description& description) {
        description.clients.erase(which.id);
        for (account::Profile& profile : description.profiles) profile.tokens.erase(which.id);
    });
    return Json::object();
}

Json listTokens(VerbRun& run) {
    const account::Time now = run.state.now();
    Json all = Json::array();
    for (const account::Profile& profile : run.state.account().description().profiles) {
        for (const auto& [client, token] : profile.tokens) {
            all.push_back({{"loginId", profile.identity.loginId},
                           {"client", client},
                           {"token", token.text},
                           {"number", token.number},
                           {"expiry", token.expiry ? Json(*token.expiry) : Json()},
                           {"expired", token.isExpired(now)}});
        }
    }
    return all;
}

Json expireTokens(VerbRun& run, const Id& which) {
    const account::Time now = run.state.now();
    int expired = 0;
    run.state.administer("tokens", [&](Description& description) {
        for (account::Profile& profile : description.profiles) {
            for (auto& [client, token] : profile.tokens) {
                if ((!which.id.empty() && client != which.id) || token.isExpired(now)) continue;
                token.expiry = now;
                ++expired;
            }
        }
    });
    return {{"expired", expired}};
}

}  // namespace

void declare(VerbTree& tree) {
    tree.group("client", "Clients, which ask for access tokens");
    tree.add<NewClient>(
        {"client add",
         "Add a client",
         "echo shop-secret | ssoctl client add shop --secret-stdin --lifetime 24h",
         {}},
        [](CLI::App& app, NewClient& wanted) {
            app.add_option("ID", wanted.id, "What it is known by")
                ->required()
                ->check(isIdentifier());
            app.add_flag("--secret-stdin", wanted.hasSecret,
                         "Its secret is the first line of standard input; without, a new one");
            app.add_option("--lifetime", wanted.lifetime,
                           "How long its tokens are good, such as 24h; without, for ever")
                ->type_name("TIME");
        },
        &add);
    tree.add<Id>(
        {"client remove", "Remove a client and its tokens", "ssoctl client remove demo-client", {}},
        [](CLI::App& app, Id& which) {
            app.add_option("ID", which.id, "What it is known by")->required();
        },
        &remove);
    tree.add({"client list", "List the clients", "ssoctl client list", {}}, &list);

    tree.group("token", "Access tokens that clients have got");
    tree.add({"token list", "List the tokens", "ssoctl token list", {}}, &listTokens);
    tree.add<Id>(
        {"token expire",
         "Let tokens be expired from now on",
         "ssoctl token expire demo-client",
         {}},
        [](CLI::App& app, Id& which) {
            app.add_option("CLIENT", which.id, "Whose; without, everybody's");
        },
        &expireTokens);
}

}  // namespace service::client_verbs
