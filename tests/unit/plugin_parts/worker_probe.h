#ifndef PLUGIN_PARTS_WORKER_PROBE_H_
#define PLUGIN_PARTS_WORKER_PROBE_H_

/// How a worker thread fails to start, as the module exports it under "workerFailure".
enum class WorkerFailure { Reports, Throws };

#endif
