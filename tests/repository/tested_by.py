# Sources that are tested through another's test, each for a reason.
TESTED_BY = {
    # Nothing but the start; run as a program there.
    "src/desktop/main.cpp": "tests/end_to_end/window_test.py",
    # Nothing but the call of `run`, which is run as a program there.
    "src/console/main.cpp": "tests/console/run_test.cpp",
}
