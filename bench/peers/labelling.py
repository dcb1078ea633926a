#!/usr/bin/python3
"""Labels volumes like those of bench/support/ZbLabelVolumes.h with SciPy and scikit-image, one thread.

Prints voxels per second of processor time, in millions: for labels alone, and with sizes, centres and boxes.
Debian: python3-scipy, python3-skimage.
"""
import time

import numpy as np
from scipy import ndimage
from skimage import measure

SIZE = 256


def volumes():
    noise = np.random.default_rng(1).integers(0, 256, (SIZE, SIZE, SIZE), dtype=np.uint8)
    smooth = noise.astype(np.float32)
    for _ in range(3):
        smooth = ndimage.uniform_filter(smooth, 9, mode="wrap")
    yield "blobs", smooth >= smooth.mean()
    yield "noise", noise >= 128


def scipy_label(mask, connectivity):
    labels, count = ndimage.label(mask, ndimage.generate_binary_structure(3, connectivity))
    return labels, count, time.process_time(), (
        np.bincount(labels.ravel()),
        ndimage.center_of_mass(mask, labels, np.arange(1, count + 1)),
        ndimage.find_objects(labels),
    )


def skimage_label(mask, connectivity):
    labels, count = measure.label(mask, connectivity=connectivity, return_num=True)
    done = time.process_time()
    return labels, count, done, measure.regionprops_table(labels, properties=("area", "centroid", "bbox"))


for name, mask in volumes():
    for neighbours, connectivity in ((6, 1), (26, 3)):
        for label in (scipy_label, skimage_label):
            start = time.process_time()
            _, count, labelled, _ = label(mask, connectivity)
            end = time.process_time()
            alone, all_of_it = (mask.size / 1e6 / (t - start) for t in (labelled, end))
            print(f"{name} {neighbours:2} {label.__name__:14} {alone:6.1f} {all_of_it:6.1f}  ({count} regions)", flush=True)
