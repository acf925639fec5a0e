import tessora1d


def test_version():
    assert tessora1d.version() == "5.3.0.0"
