// SPDX-License-Identifier: Apache-2.0
/* Runs commands in turn, round after round, and tells of each run how long it
 * took and how much memory it had at most.
 *
 * Usage: rounds COUNT WORD... [-- WORD...]...
 * A line for each run: the command's place, nanoseconds, kB, status.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static long long now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static void runOnce(int place, char** words)
{
    struct rusage usage;
    int status = 0;
    const long long start = now();
    /* Up to its exec a child's memory is this program's, which is smaller than
     * that of any command. */
    const pid_t child = vfork();
    if (child == 0)
    {
        execvp(words[0], words);
        _exit(127);
    }
    wait4(child, &status, 0, &usage);
    dprintf(3, "%d %lld %ld %d\n", place, now() - start, usage.ru_maxrss,
            status);
}

int main(int argc, char** argv)
{
    /* What the commands print is not wanted, what this program prints is. */
    if (argc < 3 || dup2(STDOUT_FILENO, 3) < 0 ||
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO) < 0)
    {
        return 1;
    }
    fcntl(3, F_SETFD, FD_CLOEXEC);
    for (char** word = argv + 2; word < argv + argc; ++word)
    {
        if (strcmp(*word, "--") == 0)
        {
            *word = NULL;
        }
    }
    for (long round = strtol(argv[1], NULL, 10); round > 0; --round)
    {
        int place = 0;
        char** first = argv + 2;
        for (char** word = first; word <= argv + argc; ++word)
        {
            if (*word == NULL)
            {
                runOnce(place++, first);
                first = word + 1;
            }
        }
    }
    return 0;
}
