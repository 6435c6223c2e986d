#!/usr/bin/env python3
"""Makes the example models of this folder: `examples/generate.py` rewrites them all in place.

Nothing here is random, so a second run gives the same bytes. Lengths are centimetres, y is up.
"""

import os
import sys

import fbx_models
import gltf_models
import mesh_models
from fbx_writer import ascii_document, binary_document
from pictures import checker, crate, leaf, marks, mushroom, oak, stud_normals, stud_surface
from shapes import sphere

FOLDER = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    path = os.path.join(FOLDER, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)
    print(f"{len(data):8d}  {name}", file=sys.stderr)


def main():
    write("textures/oak.png", oak(192))
    write("textures/crate.png", crate(128))
    lamp = fbx_models.Scene()
    fbx_models.desk_lamp(lamp)
    write("desk-lamp.fbx", binary_document(lamp.document()))
    write("textured-box.fbx", ascii_document(fbx_models.textured_box().document()))
    write("embedded-texture.fbx", binary_document(fbx_models.embedded_texture().document()))
    write("mirrored.fbx", ascii_document(fbx_models.mirrored().document()))
    write("sheared.fbx", ascii_document(fbx_models.sheared().document()))
    write("vertex-colors.fbx", binary_document(fbx_models.vertex_colors().document()))
    write("skinned.fbx", binary_document(fbx_models.skinned().document()))
    write("animated.fbx", binary_document(fbx_models.animated().document()))

    lamp = gltf_models.Scene()
    fbx_models.desk_lamp(lamp, oak(192))
    write("desk-lamp.glb", lamp.document.glb())
    manifest, binary = gltf_models.textured_box("textures/crate.png").gltf("textured-box.bin")
    write("textured-box.gltf", manifest)
    write("textured-box.bin", binary)
    write("normal-map.glb", gltf_models.normal_map(stud_normals(64), stud_surface(64)).glb())
    write("vertex-colors.glb", gltf_models.vertex_colors().glb())
    write("skinned.glb", gltf_models.skinned().glb())
    write("morph.glb", gltf_models.morph().glb())
    write("animated.glb", gltf_models.animated().glb())
    write("alpha-modes.glb", gltf_models.alpha_modes(leaf(96)).glb())
    write("texture-transforms.glb", gltf_models.texture_transforms(marks(64)).glb())
    write("texture-filters.glb", gltf_models.texture_filters(mushroom()).glb())
    write("sparse.glb", gltf_models.sparse().glb())
    write("variants.glb", gltf_models.variants().glb())
    write("materials.glb", gltf_models.materials(checker(64, 8)).glb())
    write("primitives.glb", gltf_models.primitives().glb())

    write("toy-chest.obj", mesh_models.obj_document("A crate with a ball on it", mesh_models.toy_chest(), "toy-chest.mtl"))
    write("toy-chest.mtl", mesh_models.mtl_document([("Planks", (1, 1, 1), 10, "textures/crate.png"),
                                                     ("Red", (0.75, 0.12, 0.08), 60, None),
                                                     ("Ivory", (0.92, 0.88, 0.78), 60, None)]))
    write("knob.stl", mesh_models.binary_stl(mesh_models.knob()))
    write("vertex-colors.ply", mesh_models.ascii_ply(sphere(10, 16, 24), lambda p: tuple(0.5 + c / 20.0 for c in p)))


if __name__ == "__main__":
    main()
