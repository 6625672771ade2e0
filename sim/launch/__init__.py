# SPDX-License-Identifier: Apache-2.0
"""Starts the simulated BMC: the private world around it, and it."""
