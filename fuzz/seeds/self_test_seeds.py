"""Where the search for the failure that is there on purpose begins."""

SEEDS = {"self_test": {"good": b"baa"}}
