"""Whether what the modern reading finds wrong in real fonts is wrong by other tools too."""


def check(options, scan, files_below, kinds, pool):
    raise NotImplementedError
