// SPDX-License-Identifier: Apache-2.0
/* The least that a D-Bus client can do: make the calls it is told to, one after
 * the other, and write each reply's text as it came. What the tool costs is
 * compared with this.
 *
 * Usage: bench-floor SERVICE PATH INTERFACE METHOD SIGNATURE [VALUE...] ...
 * SIGNATURE is of s, i, u and as; an array's values follow their count. A
 * reply that is not text is received and left alone.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <systemd/sd-bus.h>

static int appendTexts(sd_bus_message* call, char*** values)
{
    int rc = sd_bus_message_open_container(call, 'a', "s");
    for (long left = strtol(*(*values)++, NULL, 10); left > 0; --left)
    {
        sd_bus_message_append_basic(call, 's', *(*values)++);
    }
    return rc < 0 ? rc : sd_bus_message_close_container(call);
}

/* Append the values that the signature asks for; where the next words start. */
static char** append(sd_bus_message* call, const char* signature, char** values)
{
    for (; *signature != '\0'; ++signature)
    {
        if (*signature == 'a')
        {
            appendTexts(call, &values);
            ++signature;
            continue;
        }
        const uint32_t number = (uint32_t)strtoul(*values, NULL, 0);
        const void* value = *signature == 's' ? (const void*)*values : &number;
        sd_bus_message_append_basic(call, *signature, value);
        ++values;
    }
    return values;
}

static int callOnce(sd_bus* bus, char*** words)
{
    char** word = *words;
    sd_bus_message* call = NULL;
    sd_bus_message* reply = NULL;
    const char* text = NULL;
    int rc = sd_bus_message_new_method_call(bus, &call, word[0], word[1],
                                            word[2], word[3]);
    if (rc < 0)
    {
        return rc;
    }
    *words = append(call, word[4], word + 5);
    rc = sd_bus_call(bus, call, 0, NULL, &reply);
    if (rc >= 0 && sd_bus_message_read(reply, "s", &text) > 0)
    {
        fputs(text, stdout);
    }
    sd_bus_message_unref(reply);
    sd_bus_message_unref(call);
    return rc;
}

int main(int argc, char** argv)
{
    sd_bus* bus = NULL;
    int rc = sd_bus_default(&bus);
    for (char** word = argv + 1; rc >= 0 && word + 4 < argv + argc;)
    {
        rc = callOnce(bus, &word);
    }
    sd_bus_unref(bus);
    return rc < 0;
}
