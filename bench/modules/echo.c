/* Sends every message back with the fewest calls that a module can make: a blocking message is answered by
 * itself with one more reference, a posted one is posted. What is left is what the browser's own channel
 * costs.
 *
 * An element with data-module="answer" gets the plug-in's answers to getVersion and to a token request
 * instead, whatever it asks: put together of texts that were made beforehand, so with the fewest calls, too.
 * It is what the answers themselves cost, on their way and in the page. */

#include <pthread.h>
#include <semaphore.h>
#include <stdlib.h>
#include <string.h>

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_core.h"
#include "ppapi/c/ppb_message_loop.h"
#include "ppapi/c/ppb_messaging.h"
#include "ppapi/c/ppb_var.h"
#include "ppapi/c/ppb_var_dictionary.h"
#include "ppapi/c/ppp.h"
#include "ppapi/c/ppp_instance.h"
#include "ppapi/c/ppp_message_handler.h"

struct Echo {
    PP_Instance instance;
    PP_Resource loop;
    pthread_t thread;
    sem_t attached;
    struct Echo* next;
};

static const PPB_Core* g_core;
static const PPB_Var* g_vars;
static const PPB_Messaging* g_messaging;
static const PPB_MessageLoop* g_loops;
static const PPB_VarDictionary* g_dictionaries;
static struct Echo* g_echoes; /* main thread only */

static void handleMessage(PP_Instance instance, void* data, const struct PP_Var* message) {
    (void)data;
    g_messaging->PostMessage(instance, *message);
}

static void handleBlockingMessage(PP_Instance instance, void* data, const struct PP_Var* message,
                                  struct PP_Var* response) {
    (void)instance;
    (void)data;
    g_vars->AddRef(*message);
    *response = *message;
}

static void destroy(PP_Instance instance, void* data) {
    (void)instance;
    (void)data;
}

static const struct PPP_MessageHandler_0_2 kHandler = {&handleMessage, &handleBlockingMessage,
                                                       &destroy};

static struct PP_Var text(const char* utf8) {
    return g_vars->VarFromUtf8(utf8, (uint32_t)strlen(utf8));
}

/* Of the answers; made with the first instance that gives them, and never released. */
static struct {
    struct PP_Var code, errorName, errorMessage, value, status, command, token;
    struct PP_Var none, version, tokenCommand, accessToken;
} g_texts;

static void makeTexts(void) {
    g_texts.code = text("code");
    g_texts.errorName = text("errorName");
    g_texts.errorMessage = text("errorMessage");
    g_texts.value = text("value");
    g_texts.status = text("status");
    g_texts.command = text("command");
    g_texts.token = text("token");
    g_texts.none = text("");
    g_texts.version = text("1.1");
    g_texts.tokenCommand = text("sso_plugin_getZEVAccessToken");
    g_texts.accessToken = text("access-token-of-a-client");
}

static void answerMessage(PP_Instance instance, void* data, const struct PP_Var* message) {
    (void)data;
    (void)message;
    const struct PP_Var answer = g_dictionaries->Create();
    g_dictionaries->Set(answer, g_texts.status, PP_MakeInt32(0));
    g_dictionaries->Set(answer, g_texts.command, g_texts.tokenCommand);
    g_dictionaries->Set(answer, g_texts.token, g_texts.accessToken);
    g_messaging->PostMessage(instance, answer);
    g_vars->Release(answer);
}

static void answerBlockingMessage(PP_Instance instance, void* data, const struct PP_Var* message,
                                  struct PP_Var* response) {
    (void)instance;
    (void)data;
    (void)message;
    *response = g_dictionaries->Create();
    g_dictionaries->Set(*response, g_texts.code, PP_MakeInt32(0));
    g_dictionaries->Set(*response, g_texts.errorName, g_texts.none);
    g_dictionaries->Set(*response, g_texts.errorMessage, g_texts.none);
    g_dictionaries->Set(*response, g_texts.value, g_texts.version);
}

static const struct PPP_MessageHandler_0_2 kAnswering = {&answerMessage, &answerBlockingMessage,
                                                         &destroy};

static int isAnswering(uint32_t argc, const char* argn[], const char* argv[]) {
    for (uint32_t i = 0; i < argc; ++i) {
        if (strcmp(argn[i], "data-module") == 0 && strcmp(argv[i], "answer") == 0) return 1;
    }
    return 0;
}

static void* run(void* data) {
    struct Echo* echo = data;
    const PP_Resource loop = echo->loop;
    g_loops->AttachToCurrentThread(loop);
    sem_post(&echo->attached);
    g_loops->Run(loop);
    return NULL;
}

static PP_Bool didCreate(PP_Instance instance, uint32_t argc, const char* argn[],
                         const char* argv[]) {
    const int answers = isAnswering(argc, argn, argv);
    if (answers && g_texts.code.type == PP_VARTYPE_UNDEFINED) makeTexts();
    struct Echo* echo = calloc(1, sizeof *echo);
    if (echo == NULL) return PP_FALSE;
    echo->instance = instance;
    echo->loop = g_loops->Create(instance);
    sem_init(&echo->attached, 0, 0);
    if (pthread_create(&echo->thread, NULL, &run, echo) != 0) {
        g_core->ReleaseResource(echo->loop);
        free(echo);
        return PP_FALSE;
    }
    while (sem_wait(&echo->attached) != 0) {
    }
    g_messaging->RegisterMessageHandler(instance, NULL, answers ? &kAnswering : &kHandler,
                                        echo->loop);
    echo->next = g_echoes;
    g_echoes = echo;
    return PP_TRUE;
}

static void didDestroy(PP_Instance instance) {
    struct Echo** place = &g_echoes;
    while (*place != NULL && (*place)->instance != instance) place = &(*place)->next;
    struct Echo* echo = *place;
    if (echo == NULL) return;
    *place = echo->next;
    g_loops->PostQuit(echo->loop, PP_TRUE);
    pthread_join(echo->thread, NULL);
    g_core->ReleaseResource(echo->loop);
    sem_destroy(&echo->attached);
    free(echo);
}

static void didChangeView(PP_Instance instance, PP_Resource view) {
    (void)instance;
    (void)view;
}

static void didChangeFocus(PP_Instance instance, PP_Bool hasFocus) {
    (void)instance;
    (void)hasFocus;
}

static PP_Bool handleDocumentLoad(PP_Instance instance, PP_Resource loader) {
    (void)instance;
    (void)loader;
    return PP_FALSE;
}

static const struct PPP_Instance_1_1 kInstance = {&didCreate, &didDestroy, &didChangeView,
                                                  &didChangeFocus, &handleDocumentLoad};

int32_t PPP_InitializeModule(PP_Module module, PPB_GetInterface getInterface) {
    (void)module;
    g_core = getInterface(PPB_CORE_INTERFACE);
    g_vars = getInterface(PPB_VAR_INTERFACE);
    g_messaging = getInterface(PPB_MESSAGING_INTERFACE);
    g_loops = getInterface(PPB_MESSAGELOOP_INTERFACE);
    g_dictionaries = getInterface(PPB_VAR_DICTIONARY_INTERFACE);
    const int complete = g_core != NULL && g_vars != NULL && g_messaging != NULL &&
                         g_loops != NULL && g_dictionaries != NULL;
    return complete ? PP_OK : PP_ERROR_NOINTERFACE;
}

void PPP_ShutdownModule(void) {}

const void* PPP_GetInterface(const char* name) {
    return strcmp(name, PPP_INSTANCE_INTERFACE_1_1) == 0 ? &kInstance : NULL;
}
