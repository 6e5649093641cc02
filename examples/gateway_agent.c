/*
 * gateway_agent: how a gateway's management process uses libsimcard.
 *
 * It brings the library up once, then answers requests read from standard
 * input, one per line, as an agent answers its management server:
 *
 *   get PATH            prints "PATH=VALUE"
 *   set PATH VALUE      changes the value in memory; prints "set PATH"
 *   sync                writes what was set to the card; prints "synced"
 *   add-wan N ip|ppp    adds WAN connection device N with its first IP or PPP
 *                       connection; prints "added PATH" of the connection
 *
 * A request that fails is reported on standard error, and the exit status is
 * then 1. The library prints its own messages on standard output, between
 * the answers, and writes its log to /logs/simcard_log.
 *
 *   cc -o gateway_agent gateway_agent.c $(pkg-config --cflags --libs libsimcard)
 */
#include <getopt.h>
#include <simcard.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define WAN_DEVICES "InternetGatewayDevice.WANDevice.1.WANConnectionDevice."

static const char usage[] =
    "usage: gateway_agent\n"
    "Starts libsimcard and answers requests from standard input, one per line:\n"
    "  get PATH | set PATH VALUE | sync | add-wan N ip|ppp\n";

static int failed(const char *request, const char *why) {
    fprintf(stderr, "gateway_agent: %s: %s\n", request, why);
    return -1;
}

/* The value belongs to the library's tree: it stays valid until that
 * parameter is set again, so print it (or copy it) before the next call. */
static int get(const char *path) {
    const char *value = simcard_getParamValueByUri(path);
    if (value == NULL) {
        return failed(path, "no readable parameter");
    }
    printf("%s=%s\n", path, value);
    return 0;
}

static int set(const char *path, const char *value) {
    if (simcard_setParamValueByUri(path, value) != 0) {
        return failed(path, "not set");
    }
    printf("set %s\n", path);
    return 0;
}

/* A WAN connection is two objects: the connection device, then its
 * connection. Both are written to the card at once. */
static int add_wan(const char *number, const char *kind) {
    char connections[128];
    char *end = NULL;
    const long n = strtol(number, &end, 10);
    const int ip = strcmp(kind, "ip") == 0;
    if (*number == '\0' || *end != '\0' || n < 1 || n > 99 || (!ip && strcmp(kind, "ppp") != 0)) {
        return failed("add-wan", "needs a device number from 1 to 99 and ip or ppp");
    }
    snprintf(connections, sizeof connections, "%s%ld.%s.", WAN_DEVICES, n,
             ip ? "WANIPConnection" : "WANPPPConnection");
    if (simcard_addMulInstanceByUri(WAN_DEVICES, (int)n) != 1 ||
        simcard_addMulInstanceByUri(connections, 1) != 1) {
        return failed("add-wan", "refused");
    }
    printf("added %s1.\n", connections);
    return 0;
}

static int answer(char *line) {
    const char *verb = strtok(line, " ");
    const char *path = strtok(NULL, " ");
    const char *rest = strtok(NULL, "");
    if (verb == NULL) {
        return 0;
    }
    if (strcmp(verb, "get") == 0 && path != NULL && rest == NULL) {
        return get(path);
    }
    if (strcmp(verb, "set") == 0 && path != NULL) {
        return set(path, rest != NULL ? rest : "");
    }
    if (strcmp(verb, "sync") == 0 && path == NULL) {
        if (simcard_syncData2Sim() != 0) {
            return failed("sync", "not every change reached the card");
        }
        puts("synced");
        return 0;
    }
    if (strcmp(verb, "add-wan") == 0 && path != NULL && rest != NULL) {
        return add_wan(path, rest);
    }
    return failed(verb, "unknown request");
}

int main(int argc, char **argv) {
    static const struct option options[] = {{"help", no_argument, NULL, 'h'}, {NULL, 0, NULL, 0}};
    char line[1024];
    int status = 0;
    int opt;

    while ((opt = getopt_long(argc, argv, "h", options, NULL)) != -1) {
        if (opt == 'h') {
            fputs(usage, stdout);
            return 0;
        }
        fputs(usage, stderr);
        return 2;
    }
    if (optind != argc) {
        fputs(usage, stderr);
        return 2;
    }

    /* Once per process, before any other call. A failure says why only in
     * the log. */
    if (simcard_init() != 0) {
        fprintf(stderr, "gateway_agent: the card did not start; see /logs/simcard_log\n");
        return 1;
    }

    while (fgets(line, sizeof line, stdin) != NULL) {
        const size_t len = strcspn(line, "\n");
        if (line[len] != '\n' && !feof(stdin)) {
            int c;
            while ((c = getchar()) != EOF && c != '\n') {
            }
            failed("request", "longer than 1023 characters");
            status = 1;
            continue;
        }
        line[len] = '\0';
        if (answer(line) != 0) {
            status = 1;
        }
        /* One answer per request, in order with the library's messages. */
        fflush(stdout);
    }
    return status;
}
