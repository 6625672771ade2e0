/* The least that a D-Bus client can do: make the calls it is told to, one after
 * the other, and write each reply's text as it came. What the tool costs is
 * compared with this.
 *
 * Usage: bench-floor SERVICE PATH INTERFACE METHOD SIGNATURE [ARGUMENT] ...
 * SIGNATURE is "" without an argument, "u" with one in hexadecimal.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <systemd/sd-bus.h>

static int callOnce(sd_bus* bus, char** words, int takesArgument)
{
    sd_bus_message* reply = NULL;
    const char* text = "";
    const uint32_t argument =
        takesArgument ? (uint32_t)strtoul(words[5], NULL, 16) : 0;
    const int rc = takesArgument
                     ? sd_bus_call_method(bus, words[0], words[1], words[2],
                                          words[3], NULL, &reply, "u", argument)
                     : sd_bus_call_method(bus, words[0], words[1], words[2],
                                          words[3], NULL, &reply, "");
    if (rc >= 0 && sd_bus_message_read(reply, "s", &text) >= 0)
    {
        fputs(text, stdout);
    }
    sd_bus_message_unref(reply);
    return rc;
}

int main(int argc, char** argv)
{
    sd_bus* bus = NULL;
    int rc = sd_bus_default(&bus);
    for (int i = 1; rc >= 0 && i + 4 < argc;)
    {
        const int takesArgument = strcmp(argv[i + 4], "u") == 0;
        rc = callOnce(bus, argv + i, takesArgument);
        i += takesArgument ? 6 : 5;
    }
    sd_bus_unref(bus);
    return rc < 0;
}
