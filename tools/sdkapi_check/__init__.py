"""The conformance check of a running device, from outside."""
