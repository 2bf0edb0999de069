// Measures the plug-in, the echo module and QWebChannel beside each other. In each round every peer has
// its turn with every case, in an order that changes, so that what disturbs the machine hits all of them.

const VERSION = { command: "sso_plugin_getVersion" };
const STATE = { command: "sso_plugin_getSSOState" };
const TOKEN = { command: "sso_plugin_getZEVAccessToken", id: "demo-client", secret: "demo-secret" };
const REFUSED = { command: "sso_plugin_noSuchCommand" };
const MALFORMED = 4711;

/** One element of the module that runs both the plug-in and the echo. */
class Embedded {
  constructor(module) {
    this.element = document.createElement("embed");
    this.element.type = "application/x-sso-plugin";
    this.element.width = 1;
    this.element.height = 1;
    this.element.dataset.module = module;
    this.onAnswer = () => {};
    this.element.addEventListener("message", event => this.onAnswer(event.data));
    document.body.append(this.element);
  }

  post(request) { this.element.postMessage(request); }

  call(request) { return this.element.postMessageAndAwaitResponse(request); }

  remove() { this.element.remove(); }
}

class Channel {
  constructor(service) {
    this.service = service;
    this.onAnswer = () => {};
  }

  post(request) {
    const answered = answer => this.onAnswer(answer);
    switch (request.command) {
      case VERSION.command: this.service.getVersion(answered); break;
      case STATE.command: this.service.getSSOState(answered); break;
      case TOKEN.command: this.service.requestToken(request.id, request.secret, answered); break;
    }
  }
}

function connectChannel() {
  return new Promise(resolve => {
    if (!window.qt || !window.QWebChannel) return resolve(null);
    new QWebChannel(qt.webChannelTransport, channel => resolve(new Channel(channel.objects.service)));
  });
}

/** Microseconds of one blocking round trip. */
async function blocking(peer, request, count) {
  const start = performance.now();
  for (let i = 0; i < count; ++i) peer.call(request);
  return (performance.now() - start) * 1000 / count;
}

/** Microseconds of one message, with so many on the way at any time. */
function inFlight(peer, request, count, width) {
  return new Promise(resolve => {
    let sent = 0;
    let answered = 0;
    const start = performance.now();
    peer.onAnswer = () => {
      answered += 1;
      if (sent < count) {
        sent += 1;
        peer.post(request);
      } else if (answered === count) {
        resolve((performance.now() - start) * 1000 / count);
      }
    };
    while (sent < width) {
      sent += 1;
      peer.post(request);
    }
  });
}

/** Microseconds of one message to one of several instances, each of which gets as many. */
function spread(peers, request, each) {
  return new Promise(resolve => {
    const count = peers.length * each;
    let answered = 0;
    const start = performance.now();
    for (const peer of peers) {
      let left = each - 1;
      peer.onAnswer = () => {
        answered += 1;
        if (answered === count) resolve((performance.now() - start) * 1000 / count);
        if (left > 0) {
          left -= 1;
          peer.post(request);
        }
      };
    }
    for (const peer of peers) peer.post(request);
  });
}

const pause = ms => new Promise(resolve => setTimeout(resolve, ms));

const ALL = ["plugin", "echo", "answer", "channel"];
const MODULES = ["plugin", "echo"];

/** A case is run in slices, so that in a round the peers take turns every few milliseconds. */
const CASES = {
  "blocking getVersion": {
    peers: ALL, slices: 20,
    run: peer => peer.call ? blocking(peer, VERSION, 10) : inFlight(peer, VERSION, 10, 1),
  },
  "blocking getSSOState": {
    peers: ALL, slices: 20,
    run: peer => peer.call ? blocking(peer, STATE, 10) : inFlight(peer, STATE, 10, 1),
  },
  "blocking refused": { peers: MODULES, slices: 10, run: peer => blocking(peer, REFUSED, 10) },
  "blocking malformed": { peers: MODULES, slices: 10, run: peer => blocking(peer, MALFORMED, 10) },
  "token": { peers: ALL, slices: 20, run: peer => inFlight(peer, TOKEN, 10, 1) },
  "refused": { peers: MODULES, slices: 10, run: peer => inFlight(peer, REFUSED, 10, 1) },
  "malformed": { peers: MODULES, slices: 10, run: peer => inFlight(peer, MALFORMED, 10, 1) },
  "100 in flight": { peers: ALL, slices: 4, run: peer => inFlight(peer, TOKEN, 300, 100) },
  "5000 in flight": { peers: ALL, slices: 1, run: peer => inFlight(peer, TOKEN, 5000, 5000) },
};

/**
 * @param options.rounds  how many.
 * @param options.cases  their names; all of them without.
 * @return by case and peer the microseconds of one message, one number for each round.
 */
async function measureCases({ rounds, cases = Object.keys(CASES) }) {
  const peers = {
    plugin: new Embedded("plugin"),
    echo: new Embedded("echo"),
    answer: new Embedded("answer"),
    channel: await connectChannel(),
  };
  if (!peers.channel) throw new Error("the page has no QWebChannel");
  // A blocking message does not wait for an instance that is being made; a posted one does.
  await spread([peers.plugin, peers.echo, peers.answer], MALFORMED, 1);
  const measured = {};
  for (let round = -1; round < rounds; ++round) {  // the first one warms up
    for (const name of cases) {
      const { peers: turns, slices, run } = CASES[name];
      const sums = {};
      for (let turn = 0; turn < slices * turns.length; ++turn) {
        const slice = Math.floor(turn / turns.length);
        const peer = turns[(turn + slice + Math.max(round, 0)) % turns.length];
        sums[peer] = (sums[peer] || 0) + await run(peers[peer]);
      }
      if (round < 0) continue;
      const times = measured[name] = measured[name] || {};
      for (const peer of turns) (times[peer] = times[peer] || []).push(sums[peer] / slices);
    }
    console.log(`round ${round + 1} of ${rounds}`);
  }
  return measured;
}

/** How the costs grow with the messages on the way. */
async function measureFlight({ rounds }) {
  const widths = [1, 3, 10, 30, 100, 300, 1000, 3000, 5000, 10000];
  for (const width of widths) {
    CASES[`flight ${width}`] = {
      peers: ALL, slices: 2, run: peer => inFlight(peer, TOKEN, Math.max(width, 300), width),
    };
  }
  return measureCases({ rounds, cases: widths.map(width => `flight ${width}`) });
}

/** How they grow with the instances; what an instance costs to make and to destroy. */
async function measureInstances({ rounds }) {
  const counts = [1, 2, 4, 8, 16, 32, 64];
  const measured = {};
  const note = (name, peer, time) =>
    ((measured[name] = measured[name] || {})[peer] = measured[name][peer] || []).push(time);
  for (let round = -1; round < rounds; ++round) {
    for (const peer of round % 2 === 0 ? ["plugin", "echo"] : ["echo", "plugin"]) {
      const instances = [];
      for (const count of counts) {
        const before = instances.length;
        const start = performance.now();
        while (instances.length < count) instances.push(new Embedded(peer));
        await spread(instances.slice(before), MALFORMED, 1);
        const made = (performance.now() - start) * 1000 / (count - before);
        if (round >= 0) note(`make, up to ${count}`, peer, made);
        await pause(50);
        console.log(`resident ${peer} ${count} ${round}`);
        await pause(250);
        const time = await spread(instances, TOKEN, 20);
        if (round >= 0) note(`instances ${count}`, peer, time);
      }
      const start = performance.now();
      for (const instance of instances) instance.remove();
      const last = new Embedded(peer);
      await spread([last], MALFORMED, 1);
      if (round >= 0) note("remove 64", peer, (performance.now() - start) * 1000 / 64);
      last.remove();
      await pause(200);
    }
    console.log(`round ${round + 1} of ${rounds}`);
  }
  return measured;
}
