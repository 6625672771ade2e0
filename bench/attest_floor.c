// SPDX-License-Identifier: Apache-2.0
/* The least that an attestation takes: the calls that the tool was seen to
 * make, and of the crypto library what tells that the device has the keys of
 * its certificates. Nothing is printed or recorded.
 *
 * Usage: bench-attest-floor SERVICE EID REQUEST...
 *
 * The requests are the tool's, SPDM 1.2 (DSP0274) with SHA-384 and ECDSA P-384,
 * in hexadecimal digits; nonces are made anew. The device's root is trusted.
 * Ends with 1 when anything is not as it must be.
 */
#include <openssl/crypto.h>
#include <openssl/ecdsa.h>
#include <openssl/rand.h>
#include <openssl/x509_vfy.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <systemd/sd-bus.h>

#define MAPPER "xyz.openbmc_project.ObjectMapper"
#define MCTP "xyz.openbmc_project.MCTP.Base"
#define MCTP_PATH "/xyz/openbmc_project/mctp"
#define VERSION_PREFIX "dmtf-spdm-v1.2.*"

enum
{
    getVersion = 0x84,
    getCapabilities = 0xE1,
    negotiateAlgorithms = 0xE3,
    getCertificate = 0x82,
    challenge = 0x83,
    getMeasurements = 0xE0,
    hashSize = 48,
    signatureSize = 96,
    nonceSize = 32,
    headSize = 4,        /* of each message; its second byte tells its kind */
    portionHeadSize = 8, /* of a message with a part of a chain */
    signedPrefixSize = 100
};

typedef struct
{
    uint8_t bytes[1 << 16];
    size_t size;
} Text;

static sd_bus* bus;
static Text negotiation; /* begins what every signature covers */
static Text said;        /* since the signature before */
static Text chain;
static uint8_t chainHash[hashSize];
static EVP_PKEY* key;

static void require(int holds)
{
    if (!holds)
    {
        exit(1);
    }
}

static void add(Text* text, const uint8_t* bytes, size_t size)
{
    require(size <= sizeof(text->bytes) - text->size);
    memcpy(text->bytes + text->size, bytes, size);
    text->size += size;
}

static void hash(const uint8_t* bytes, size_t size, uint8_t* result)
{
    require(EVP_Digest(bytes, size, result, NULL, EVP_sha384(), NULL));
}

/* Check r and s over what was said. */
static void verify(const char* purpose, const uint8_t* pair)
{
    const int half = signatureSize / 2;
    uint8_t area[signedPrefixSize + hashSize] =
        VERSION_PREFIX VERSION_PREFIX VERSION_PREFIX VERSION_PREFIX;
    uint8_t digest[hashSize];
    uint8_t* der = NULL;
    ECDSA_SIG* signature = ECDSA_SIG_new();
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new(key, NULL);
    memcpy(area + signedPrefixSize - strlen(purpose), purpose, strlen(purpose));
    hash(said.bytes, said.size, area + signedPrefixSize);
    hash(area, sizeof(area), digest);
    require(ECDSA_SIG_set0(signature, BN_bin2bn(pair, half, NULL),
                           BN_bin2bn(pair + half, half, NULL)));
    const int size = i2d_ECDSA_SIG(signature, &der);
    require(size > 0 && EVP_PKEY_verify_init(context) == 1 &&
            EVP_PKEY_verify(context, der, (size_t)size, digest, hashSize) == 1);
    OPENSSL_free(der);
    ECDSA_SIG_free(signature);
    EVP_PKEY_CTX_free(context);
    said.size = 0;
    add(&said, negotiation.bytes, negotiation.size);
}

/* Check the chain from its first certificate, which its head names, to the
 * leaf, whose key is kept. */
static void acceptChain(void)
{
    const uint8_t* const first = chain.bytes + headSize + hashSize;
    const uint8_t* const end = chain.bytes + chain.size;
    const uint8_t* at = first;
    uint8_t rootHash[hashSize];
    STACK_OF(X509)* row = sk_X509_new_null();
    X509_STORE* roots = X509_STORE_new();
    X509_STORE_CTX* context = X509_STORE_CTX_new();
    X509* leaf = d2i_X509(NULL, &at, end - at);
    require(leaf && X509_STORE_add_cert(roots, leaf) == 1);
    hash(first, (size_t)(at - first), rootHash);
    require(memcmp(rootHash, chain.bytes + headSize, hashSize) == 0);
    while (at < end)
    {
        require(sk_X509_push(row, leaf) > 0);
        leaf = d2i_X509(NULL, &at, end - at);
        require(leaf != NULL);
    }
    require(X509_STORE_CTX_init(context, roots, leaf, row) == 1 &&
            X509_verify_cert(context) == 1);
    hash(chain.bytes, chain.size, chainHash);
    EVP_PKEY_free(key);
    key = X509_get_pubkey(leaf);
    X509_STORE_CTX_free(context);
    X509_STORE_free(roots);
    sk_X509_pop_free(row, X509_free);
    X509_free(leaf);
    chain.size = 0;
}

/* Take a response; a signature at its end is over all that was said. */
static void accept(const uint8_t* request, const uint8_t* response, size_t size)
{
    const uint8_t* const end = response + size;
    switch (request[1])
    {
        case getVersion:
        case getCapabilities:
        case negotiateAlgorithms:
            add(&negotiation, said.bytes + negotiation.size,
                said.size - negotiation.size);
            break;
        case getCertificate:
            require(size > portionHeadSize);
            add(&chain, response + portionHeadSize, size - portionHeadSize);
            if (response[headSize + 2] == 0 && response[headSize + 3] == 0)
            {
                acceptChain();
            }
            break;
        case challenge:
            require(memcmp(response + headSize, chainHash, hashSize) == 0);
            verify("responder-challenge_auth signing", end);
            break;
        case getMeasurements:
            if (request[2] != 0)
            {
                verify("responder-measurements signing", end);
            }
    }
}

static int isSigned(const uint8_t* request)
{
    return request[1] == challenge ||
           (request[1] == getMeasurements && request[2] != 0);
}

static uint8_t digit(char digit)
{
    return (uint8_t)(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

static size_t readDigits(const char* digits, uint8_t* bytes)
{
    size_t size = 0;
    for (; *digits != '\0'; digits += 2)
    {
        bytes[size++] = (uint8_t)(digit(digits[0]) << 4 | digit(digits[1]));
    }
    return size;
}

static sd_bus_message* exchange(const char* service, uint8_t eid,
                                const uint8_t* message, size_t size)
{
    sd_bus_message* call = NULL;
    sd_bus_message* reply = NULL;
    require(sd_bus_message_new_method_call(bus, &call, service, MCTP_PATH, MCTP,
                                           "SendReceiveMctpMessagePayload") >=
                0 &&
            sd_bus_message_append(call, "y", eid) >= 0 &&
            sd_bus_message_append_array(call, 'y', message, size) >= 0 &&
            sd_bus_message_append(call, "q", 1000) >= 0 &&
            sd_bus_call(bus, call, 0, NULL, &reply) >= 0);
    sd_bus_message_unref(call);
    return reply;
}

/* Both messages begin with a byte that says that they are SPDM's. */
static void ask(const char* service, uint8_t eid, const char* digits)
{
    uint8_t message[64] = {0};
    const uint8_t* const request = message + 1;
    require(strlen(digits) <= 2 * sizeof(message));
    const size_t size = readDigits(digits, message);
    const size_t after = isSigned(request) ? signatureSize : 0;
    const void* bytes = NULL;
    size_t got = 0;
    require(after == 0 || RAND_bytes(message + 1 + headSize, nonceSize) == 1);
    sd_bus_message* reply = exchange(service, eid, message, size);
    require(sd_bus_message_read_array(reply, 'y', &bytes, &got) > 0 &&
            got > 1 + headSize + after);
    const uint8_t* const response = (const uint8_t*)bytes + 1;
    /* A response has its request's code without the highest bit. */
    require(response[1] == (request[1] & 0x7F));
    add(&said, request, size - 1);
    add(&said, response, got - 1 - after);
    accept(request, response, got - 1 - after);
    sd_bus_message_unref(reply);
}

int main(int argc, char** argv)
{
    sd_bus_message* reply = NULL;
    require(argc > 3 && sd_bus_default(&bus) >= 0 &&
            sd_bus_call_method(
                bus, MAPPER, "/xyz/openbmc_project/object_mapper", MAPPER,
                "GetObject", NULL, &reply, "sas", MCTP_PATH, 1, MCTP) >= 0);
    sd_bus_message_unref(reply);
    require(sd_bus_call_method(bus, argv[1], MCTP_PATH, MCTP, "GetRoutingTable",
                               NULL, &reply, "") >= 0);
    sd_bus_message_unref(reply);
    for (char** digits = argv + 3; *digits; ++digits)
    {
        ask(argv[1], (uint8_t)strtoul(argv[2], NULL, 0), *digits);
    }
    EVP_PKEY_free(key);
    sd_bus_unref(bus);
    return 0;
}
