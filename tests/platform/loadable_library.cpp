extern "C" __attribute__((visibility("default"))) int answer_of_library()
{
    return 42;
}
