"""Lab hosts in network namespaces: what the demonstration and the system tests are built from."""
