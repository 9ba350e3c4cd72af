// Has the headers that all tests share compiled for them, and no test.
