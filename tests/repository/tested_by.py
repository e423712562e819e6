# Sources that are tested through another's test, each for a reason.
TESTED_BY = {
    # Nothing but the call of `run`, which is run as a program there.
    "src/console/main.cpp": "tests/console/run_test.cpp",
}
