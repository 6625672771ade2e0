// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <vector>

/** The root certificates that the operator trusts, as files. */
namespace mctp::spdm::cert
{

/** Total length and reserved bits in front of a certificate chain (DSP0274);
 *  the root certificate's hash follows. */
inline constexpr std::size_t chainHeaderSize = 4;

/** Set the folder that holds one folder per algorithm.
 *
 *  It is kept in 256 bytes: a longer text is cut, with a line on standard
 *  error.
 */
void setDirectory(const std::string& directory);

/** Name of the file for an algorithm below the directory.
 *
 *  @param asymAlgo one bit of DSP0274's BaseAsymAlgo
 *  @return null for anything else
 */
const char* fileName(uint32_t asymAlgo);

/** Build a certificate chain of one out of the algorithm's file.
 *
 *  @param hashAlgo one bit of DSP0274's BaseHashAlgo
 *  @return the chain; or text for standard output, as it stands, that tells
 *          why there is none: empty for a path of 256 characters or more
 */
std::expected<std::vector<uint8_t>, std::string>
readRootCertChain(uint32_t hashAlgo, uint32_t asymAlgo);

} // namespace mctp::spdm::cert
