// The traced functions: ORN_GL / ORN_GLU(return type, name, parameters, call arguments, logged
// arguments). Logged arguments wrap parameters whose meaning the C type hides (see GLTrace.h).
// No include guard: the includer defines ORN_GL and ORN_GLU, includes this file, and undefines them.

// Matrices
ORN_GL(void, glMatrixMode, (GLenum mode), (mode), (En{mode}))
ORN_GL(void, glPushMatrix, (void), (), ())
ORN_GL(void, glPopMatrix, (void), (), ())
ORN_GL(void, glLoadIdentity, (void), (), ())
ORN_GL(void, glTranslatef, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), (x, y, z))
ORN_GL(void, glRotatef, (GLfloat a, GLfloat x, GLfloat y, GLfloat z), (a, x, y, z), (a, x, y, z))
ORN_GL(void, glScalef, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), (x, y, z))
ORN_GL(void, glOrtho, (GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f),
       (l, r, b, t, n, f), (l, r, b, t, n, f))
ORN_GL(void, glViewport, (GLint x, GLint y, GLsizei w, GLsizei h), (x, y, w, h), (x, y, w, h))

// Queries and capabilities
ORN_GL(void, glGetDoublev, (GLenum pname, GLdouble* p), (pname, p), (En{pname}, p))
ORN_GL(void, glGetIntegerv, (GLenum pname, GLint* p), (pname, p), (En{pname}, p))
ORN_GL(void, glEnable, (GLenum cap), (cap), (En{cap}))
ORN_GL(void, glDisable, (GLenum cap), (cap), (En{cap}))
ORN_GL(void, glPushAttrib, (GLbitfield mask), (mask), (Bits{mask}))
ORN_GL(void, glPopAttrib, (void), (), ())

// Client arrays
ORN_GL(void, glEnableClientState, (GLenum cap), (cap), (En{cap}))
ORN_GL(void, glDisableClientState, (GLenum cap), (cap), (En{cap}))
ORN_GL(void, glVertexPointer, (GLint size, GLenum type, GLsizei stride, const GLvoid* p),
       (size, type, stride, p), (size, En{type}, stride, p))
ORN_GL(void, glNormalPointer, (GLenum type, GLsizei stride, const GLvoid* p), (type, stride, p),
       (En{type}, stride, p))
ORN_GL(void, glColorPointer, (GLint size, GLenum type, GLsizei stride, const GLvoid* p),
       (size, type, stride, p), (size, En{type}, stride, p))
ORN_GL(void, glTexCoordPointer, (GLint size, GLenum type, GLsizei stride, const GLvoid* p),
       (size, type, stride, p), (size, En{type}, stride, p))
ORN_GL(void, glEdgeFlag, (GLboolean flag), (flag), (Bool{flag}))
ORN_GL(void, glDrawElements, (GLenum mode, GLsizei count, GLenum type, const GLvoid* indices),
       (mode, count, type, indices), (Prim{mode}, count, En{type}, indices))

// Immediate mode
ORN_GL(void, glBegin, (GLenum mode), (mode), (Prim{mode}))
ORN_GL(void, glEnd, (void), (), ())
ORN_GL(void, glVertex2f, (GLfloat x, GLfloat y), (x, y), (x, y))
ORN_GL(void, glVertex3f, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), (x, y, z))
ORN_GL(void, glVertex3fv, (const GLfloat* v), (v), (Vector(v, 3)))
ORN_GL(void, glColor4f, (GLfloat r, GLfloat g, GLfloat b, GLfloat a), (r, g, b, a), (r, g, b, a))
ORN_GL(void, glColor4fv, (const GLfloat* v), (v), (Vector(v, 4)))
ORN_GL(void, glTexCoord2f, (GLfloat s, GLfloat t), (s, t), (s, t))

// Display lists
ORN_GL(GLuint, glGenLists, (GLsizei range), (range), (range))
ORN_GL(void, glNewList, (GLuint list, GLenum mode), (list, mode), (list, En{mode}))
ORN_GL(void, glEndList, (void), (), ())
ORN_GL(void, glCallList, (GLuint list), (list), (list))
ORN_GL(void, glDeleteLists, (GLuint list, GLsizei range), (list, range), (list, range))
ORN_GL(GLboolean, glIsList, (GLuint list), (list), (list))

// Selection names
ORN_GL(void, glPushName, (GLuint name), (name), (name))
ORN_GL(void, glPopName, (void), (), ())

// Rasterisation state
ORN_GL(void, glPolygonMode, (GLenum face, GLenum mode), (face, mode), (En{face}, En{mode}))
ORN_GL(void, glCullFace, (GLenum mode), (mode), (En{mode}))
ORN_GL(void, glShadeModel, (GLenum mode), (mode), (En{mode}))
ORN_GL(void, glBlendFunc, (GLenum s, GLenum d), (s, d), (Blend{s}, Blend{d}))
ORN_GL(void, glDepthFunc, (GLenum func), (func), (En{func}))
ORN_GL(void, glDepthMask, (GLboolean flag), (flag), (Bool{flag}))
ORN_GL(void, glColorMask, (GLboolean r, GLboolean g, GLboolean b, GLboolean a), (r, g, b, a),
       (Bool{r}, Bool{g}, Bool{b}, Bool{a}))
ORN_GL(void, glLineStipple, (GLint factor, GLushort pattern), (factor, pattern), (factor, pattern))
ORN_GL(void, glLineWidth, (GLfloat width), (width), (width))
ORN_GL(void, glPointSize, (GLfloat size), (size), (size))
ORN_GL(void, glHint, (GLenum target, GLenum mode), (target, mode), (En{target}, En{mode}))
ORN_GL(void, glClear, (GLbitfield mask), (mask), (Bits{mask}))
ORN_GL(void, glClearColor, (GLclampf r, GLclampf g, GLclampf b, GLclampf a), (r, g, b, a), (r, g, b, a))
ORN_GL(void, glFlush, (void), (), ())
ORN_GL(void, glFinish, (void), (), ())

// Lighting, material, fog, clip planes
ORN_GL(void, glLightModelfv, (GLenum pname, const GLfloat* p), (pname, p), (En{pname}, PVec(pname, p)))
ORN_GL(void, glMaterialfv, (GLenum face, GLenum pname, const GLfloat* p), (face, pname, p),
       (En{face}, En{pname}, PVec(pname, p)))
ORN_GL(void, glMateriali, (GLenum face, GLenum pname, GLint param), (face, pname, param),
       (En{face}, En{pname}, param))
ORN_GL(void, glColorMaterial, (GLenum face, GLenum mode), (face, mode), (En{face}, En{mode}))
ORN_GL(void, glLightf, (GLenum light, GLenum pname, GLfloat param), (light, pname, param),
       (En{light}, En{pname}, param))
ORN_GL(void, glLightfv, (GLenum light, GLenum pname, const GLfloat* p), (light, pname, p),
       (En{light}, En{pname}, PVec(pname, p)))
ORN_GL(void, glFogf, (GLenum pname, GLfloat param), (pname, param), (En{pname}, IEn{param}))
ORN_GL(void, glFogfv, (GLenum pname, const GLfloat* p), (pname, p), (En{pname}, PVec(pname, p)))
ORN_GL(void, glFogi, (GLenum pname, GLint param), (pname, param), (En{pname}, IEn{double(param)}))
ORN_GL(void, glClipPlane, (GLenum plane, const GLdouble* eq), (plane, eq), (En{plane}, Vector(eq, 4)))

// Textures
ORN_GL(void, glGenTextures, (GLsizei n, GLuint* textures), (n, textures), (n, textures))
ORN_GL(void, glDeleteTextures, (GLsizei n, const GLuint* textures), (n, textures), (n, Vector(textures, n)))
ORN_GL(void, glBindTexture, (GLenum target, GLuint texture), (target, texture), (En{target}, texture))
ORN_GL(void, glTexImage2D,
       (GLenum target, GLint level, GLint internal, GLsizei w, GLsizei h, GLint border, GLenum format,
        GLenum type, const GLvoid* pixels),
       (target, level, internal, w, h, border, format, type, pixels),
       (En{target}, level, IEn{double(internal)}, w, h, border, En{format}, En{type}, pixels))
ORN_GL(void, glTexParameteri, (GLenum target, GLenum pname, GLint param), (target, pname, param),
       (En{target}, En{pname}, IEn{double(param)}))
ORN_GL(void, glPixelStorei, (GLenum pname, GLint param), (pname, param), (En{pname}, param))
ORN_GL(GLboolean, glIsTexture, (GLuint texture), (texture), (texture))

// Pixels
ORN_GL(void, glReadPixels, (GLint x, GLint y, GLsizei w, GLsizei h, GLenum format, GLenum type, GLvoid* p),
       (x, y, w, h, format, type, p), (x, y, w, h, En{format}, En{type}, p))

// GLU: matrices and projection
ORN_GLU(void, gluPerspective, (GLdouble fovy, GLdouble aspect, GLdouble n, GLdouble f), (fovy, aspect, n, f),
        (fovy, aspect, n, f))
ORN_GLU(void, gluPickMatrix, (GLdouble x, GLdouble y, GLdouble w, GLdouble h, GLint* viewport),
        (x, y, w, h, viewport), (x, y, w, h, Vector(viewport, 4)))

// GLU: images and errors
ORN_GLU(GLint, gluScaleImage,
        (GLenum format, GLsizei wIn, GLsizei hIn, GLenum typeIn, const void* in, GLsizei wOut, GLsizei hOut,
         GLenum typeOut, GLvoid* out),
        (format, wIn, hIn, typeIn, in, wOut, hOut, typeOut, out),
        (En{format}, wIn, hIn, En{typeIn}, in, wOut, hOut, En{typeOut}, out))

// GLU: tessellation
ORN_GLU(void, gluTessEndPolygon, (GLUtesselator * tess), (tess), (tess))
