#!/usr/bin/python3
"""Resamples 256^3 floats with SciPy, and copies slices of a volume with NumPy, one thread.

Prints voxels of the result per second of processor time, in millions, and the gigabytes per second of the slices, read and
written ones together. SciPy's zoom() does not stretch its kernels when shrinking. Debian: python3-scipy.
"""
import time

import numpy as np
from scipy import ndimage

SIZE = 256


def best(run, repeats):
    times = []
    for _ in range(repeats):
        start = time.process_time()
        run()
        times.append(time.process_time() - start)
    return min(times)


volume = np.random.default_rng(1).random((SIZE, SIZE, SIZE), dtype=np.float32)
for size in (384, 128):
    out = np.empty((size, size, size), np.float32)
    for order in (1, 3):
        seconds = best(lambda: ndimage.zoom(volume, size / SIZE, out, order=order), 2)
        print(f"scipy zoom, order {order}, to {size}^3: {out.size / seconds / 1e6:.1f} Mvoxel/s")

out = np.empty((SIZE, SIZE), np.float32)
for name, slices in (
    ("xy", [volume[i] for i in range(SIZE)]),
    ("xz", [volume[:, i] for i in range(SIZE)]),
    ("yz", [volume[:, :, i] for i in range(SIZE)]),
):

    def get():
        for part in slices:
            np.copyto(out, part)

    def put():
        for part in slices:
            np.copyto(part, out)

    for verb, run in (("get", get), ("put", put)):
        print(f"numpy {verb} {name}: {2 * volume.nbytes / best(run, 5) / 1e9:.2f} GB/s")
