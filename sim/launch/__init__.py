"""Starts the simulated BMC: the private world around it, and it."""
